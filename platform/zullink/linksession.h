#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <list>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "wmsg/wmsg.h"
#include "wmsg/wmsgreader.h"
#include "zullink/linksettings.h"

/// Gives out the sequence numbers of the messages that one side originates: 1 to 255, then 0, and so on.
///
/// All sessions of a side share one. It has no lock of its own.
class LinkNumbers
{
public:
    /// The next number that no session has outstanding or, if there is none, that is not in @p own.
    uint8_t next(const std::bitset<256>& own);

    void acquire(uint8_t seq) { ++mOutstanding[seq]; }
    void release(uint8_t seq) { --mOutstanding[seq]; }

private:
    uint8_t mCurrMsgSeq = 0;                  ///< the number given out last
    std::array<uint32_t, 256> mOutstanding{}; ///< on how many connections
};

/// One end of a link, without socket, clock or thread.
///
/// A driver feeds it the bytes received, the time and the messages to send, and takes the messages received,
/// the bytes to write and the next deadline. All times are in milliseconds by one clock that never goes back.
class LinkSession
{
public:
    struct Settings : sLinkLimits
    {
        /// True: what waits outlives the connection, and past queueBytes the oldest event is dropped.
        /// False: everything ends with the connection, which is given up past queueBytes.
        bool keepsMessages = true;

        // How problem() begins. Literals.
        const char* silent = "it is silent";
        const char* brokenBytes = "it sent broken bytes: ";
    };

    /// Requests that may be outstanding at once: one number stays free for everything else.
    static constexpr size_t kMaxOutstanding = 255;

    /// Pings that may wait for their answers; the session passes over more.
    static constexpr size_t kMaxPings = 64 * 1024;

    /// "Never", as a time.
    static constexpr int64_t kNever = std::numeric_limits<int64_t>::max();

    /// Ties an answer to the message that it answers. The default one belongs to no message.
    struct ReplyToken
    {
        uint64_t connection = 0; ///< counted from 1
        uint8_t seq = 0;
    };

    /// Gets the answer, or null if the connection ended before it came.
    using AnswerHandler = std::function<void(const WMsg*)>;

    struct Received
    {
        WMsg message = {};
        ReplyToken token;                ///< for the answer to `message`
        AnswerHandler handler = nullptr; ///< of the request that `message` answers; null if it has none
    };

    /// @p numbers is borrowed.
    LinkSession(const Settings& settings, LinkNumbers* numbers) : mSettings(settings), mNumbers(numbers) {}
    ~LinkSession() { clear(); }
    LinkSession(const LinkSession&) = delete;
    LinkSession& operator=(const LinkSession&) = delete;

    // The connection.

    void connected(int64_t nowMs);

    /// Drops what belongs to the connection; an event that was written in part waits for the next one.
    /// Returns the handlers of the requests that ended, for the caller to call with null.
    std::vector<AnswerHandler> disconnected() { return drop(mSettings.keepsMessages); }

    /// Drops everything that waits to be sent. Returns handlers like disconnected().
    std::vector<AnswerHandler> clear() { return drop(false); }

    /// Gives the connection up: nothing more is read or written, and problem() is @p reason unless there was
    /// one.
    void abandon(const std::string& reason);

    /// Why the connection must be given up, in a few words; empty while it is sound.
    const std::string& problem() const { return mProblem; }

    /// True once the peer has sent a whole message over this connection.
    bool hasReceived() const { return mHasReceived; }

    // Receiving.

    /// Reads from @p *bytes and moves it past what was used. True if *@p received is a message; then call
    /// again. Pings are answered, and never returned.
    bool read(std::span<const uint8_t>* bytes, int64_t nowMs, Received* received);

    /// The driver stops or resumes reading: a peer that is not read is not silent. No effect if it does
    /// already.
    void setReading(bool reading, int64_t nowMs);

    /// The number of answers that matched no request, or a request without a handler.
    uint64_t unmatchedAnswers() const { return mUnmatched; }

    // Sending. Messages get their numbers when they are written.

    /// Sends an event or another message that is not answered.
    void send(WMsg message);

    /// Sends the answer to the message that @p token came with; dropped if that connection is gone.
    void answer(const ReplyToken& token, WMsg message);

    /// Sends a request or a set, whose answer goes to @p handler; a null one drops it. Returns a number for
    /// giveUp(), or 0 if too many are outstanding: then nothing is sent.
    uint64_t request(WMsg message, AnswerHandler handler);

    /// Forgets the handler of @p request. Its sequence number stays taken until the answer comes.
    void giveUp(uint64_t request);

    /// True while more than Settings::answerBytes wait: deliver and read nothing until they are written.
    bool backlogExceeded() const { return mAnswerBytes > mSettings.answerBytes; }

    struct Dropped
    {
        uint64_t whileUp = 0;
        uint64_t whileDown = 0;
    };

    /// Events that were dropped since the last call.
    Dropped takeDropped() { return std::exchange(mDropped, {}); }

    /// Events that were dropped, since the session was made.
    uint64_t droppedEvents() const { return mDroppedEvents; }

    /// Events that wait to be written.
    uint64_t waitingEvents() const;

    /// Messages that were written to their end, since the session was made; pings do not count.
    uint64_t writtenMessages() const { return mWrittenMessages; }

    // Writing.

    /// The bytes to write now, valid until the next call that is not const; empty if there are none.
    std::span<const uint8_t> output(int64_t nowMs);

    /// The first @p size bytes of output() have been written.
    void written(size_t size, int64_t nowMs);

    // The end.

    /// Nothing more is to be sent: a ping behind all that waits asks the peer whether it has read that. Call
    /// it again until it is true: the peer has answered, and everything that it asked before is answered too.
    /// From then on nothing is written. The connection is given up if it lasts longer than giveUpAfterMs.
    bool finish(int64_t nowMs);

    // Time.

    /// When to call checkTimes() next.
    int64_t deadline() const;

    /// Pings the peer if it was idle for too long, and gives it up if it is gone. Read what has come before.
    void checkTimes(int64_t nowMs);

private:
    enum class eKind : uint8_t
    {
        EVENT, ///< or whatever else is not answered
        ANSWER,
        REQUEST
    };

    /// A message that waits to be written, or a request that waits for its answer.
    struct Entry
    {
        WMsg message = {};
        eKind kind = eKind::EVENT;
        bool numbered = false;
        uint64_t request = 0;            ///< of a REQUEST
        AnswerHandler handler = nullptr; ///< null if the answer is not wanted
    };

    /// A list, as it takes no memory while it is empty and an entry moves from one to another as it is.
    using Entries = std::list<Entry>;

    bool isSound() const { return mConnected && mProblem.empty(); }
    bool isWriting() const { return mWritten < mOutput.size(); }

    enum class eFinish : uint8_t
    {
        NOT_ASKED,
        PING_DUE,
        PINGED,
        READ,
        FINISHED
    };
    void push(Entry entry);
    void count(const Entry& entry, bool added);
    void trim();
    void fillOutput();
    void fillPings();
    void readPing(const WMsg& ping);
    AnswerHandler takeHandler(uint8_t seq);
    void release(uint8_t seq);
    std::vector<AnswerHandler> drop(bool keepsMessages);

    const Settings mSettings;
    LinkNumbers* const mNumbers;

    // The connection.
    uint64_t mConnection = 0; ///< counts connections from 1
    bool mConnected = false;
    std::string mProblem;

    // Receiving.
    WMsgReader mReader;
    bool mHasReceived = false;
    bool mReading = true;
    int64_t mPausedSinceMs = 0; ///< while reading is paused
    int64_t mPausedMs = 0;      ///< how long reading was paused before: the reader's clock stood still
    int64_t mLastReceivedMs = 0;
    bool mPinged = false; ///< since mLastReceivedMs

    // Requests.
    Entries mOutstanding;    ///< written at least in part, oldest first, without payload
    std::bitset<256> mTaken; ///< the numbers in mOutstanding
    uint64_t mLastRequest = 0;
    uint64_t mUnmatched = 0;

    // Sending.
    Entries mQueue;
    size_t mQueueBytes = 0;  ///< of what this side originates
    size_t mAnswerBytes = 0; ///< of answers
    Dropped mDropped;
    uint64_t mDroppedEvents = 0;

    // Writing.
    uint64_t mWrittenMessages = 0;
    bool mMessageInOutput = false; ///< mOutput ends in a message that is no ping
    bool mPingDue = false;
    std::vector<uint8_t> mPings;  ///< numbers of the pings to be answered
    std::vector<uint8_t> mOutput; ///< control messages, then one other message
    size_t mWritten = 0;          ///< of mOutput
    Entries mPartialSend;         ///< the event in mOutput, to be sent again if that is cut off
    eFinish mFinish = eFinish::NOT_ASKED;
    int64_t mFinishMs = 0;      ///< when the end was asked for
    int64_t mLastWrittenMs = 0; ///< or when mOutput was filled
};

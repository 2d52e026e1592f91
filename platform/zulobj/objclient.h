#ifndef ZULOBJ_OBJCLIENT_H
#define ZULOBJ_OBJCLIENT_H

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "wlog/wlog.h"
#include "wmsg/wmsg.h"
#include "wmsg/wmsgreader.h"
#include "zulobj/eventpump.h"
#include "zullink/linkdriver.h"
#include "zullink/linksocket.h"
#include "zulobj/msgreg.h"
#include "zulobj/objectlist.h"
#include "zulobj/outqueue.h"
#include "zullink/reconnectbackoff.h"
#include "zullink/wakeup.h"

/// Keeps a device's connection to the monitoring server.
///
/// Once started it connects, connects again after every loss, pings an idle peer and gives up on a silent
/// one. docs/protocol.md describes the life of a connection. By itself it reads on one thread and calls its
/// listeners on another; with a host both happen on the host's thread, and while that one is busy for long
/// the client's own reads on, so that the peer's pings are answered.
class cObjectClient : public cWlog
{
public:
    using eMsgStatus = cMsgReg::eMsgStatus;
    static constexpr eMsgStatus MSG_OK = cMsgReg::MSG_OK;
    static constexpr eMsgStatus MSG_ERROR = cMsgReg::MSG_ERROR;
    static constexpr eMsgStatus MSG_WAITING = cMsgReg::MSG_WAITING;
    static constexpr eMsgStatus MSG_BUSY = cMsgReg::MSG_BUSY;

    /// How the link is kept, in milliseconds and bytes.
    struct Settings
    {
        int startMs = 3000;      ///< start() answers within this
        int connectMs = 10000;   ///< one attempt, name resolution included
        int firstPauseMs = 1000; ///< before the second attempt; doubles with each further one
        int longestPauseMs = 30000;
        int pingAfterMs = 10000;   ///< nothing received for so long: ask
        int giveUpAfterMs = 30000; ///< nothing received, or nothing sent, for so long: the peer is gone
        size_t queueBytes = 4 * 1024 * 1024;  ///< events that wait for the link
        size_t answerBytes = 4 * 1024 * 1024; ///< answers that the peer does not read; then no more is read
    };

    cObjectClient() : cObjectClient(Settings()) {}
    explicit cObjectClient(const Settings& settings);

    /// Stops the client. A listener that waits for the calling thread must have been released before.
    ~cObjectClient();

    /// @p listener is called for every message, once for each time it was added, and outlives the client
    /// or its stop().
    void addListener(cObjectListener* listener);

    /// Records every connection that comes from now on in @p file, or none where it is null.
    void recordTo(std::shared_ptr<cCaptureFile> file);

    /// Has @p host read the connection and call the listeners; it outlives the client. Once, before start();
    /// start(), stop() and processIo() are then for the host's thread only.
    void setDriver(cLinkDriver* host) { mHost = host; }

    /// Reads what has come and delivers it to the listeners, without waiting. To be called when the host is
    /// told so, and when the descriptor that it returned last is readable; -1 means to wait for requestProcessing().
    /// The descriptor stays open until the next call, or stop().
    int processIo();

    /// Starts the threads and the first attempt to connect to @p address, a name or a number, and @p port,
    /// 0 to 65535. True when the connection stands within 3 seconds. False does not mean the end: the
    /// client goes on trying, unless the address is null or empty or the port out of range, which starts
    /// nothing. Started again, it gives its connection up and turns to the new address; events that wait
    /// are kept. One thread at a time; no listener may be waiting for that thread's return from stop().
    bool start(const char* address, int port);

    /// Ends the connection and joins every thread. What waits to be sent is dropped.
    void stop();

    /// Copies what it needs from @p list and sends it, as far as the connection takes it without waiting, or
    /// queues it; any thread may call. A list of type 0 or 1 that is sent while a message of the same type is
    /// being delivered is the answer to that message. Events wait for the link, oldest dropped first when too
    /// many do. A client that was never started drops all.
    void send(cObjectList* list);

    /// Send @p request as a request or a set and wait for the answer, which replaces the content of
    /// @p *answer when the result is MSG_OK. Any thread may call but a listener's.
    eMsgStatus get(cObjectList* request, cObjectList* answer, int timeoutMs);
    eMsgStatus set(cObjectList* request, cObjectList* answer, int timeoutMs);

    /// Like get(), with nothing but the key fields in the answer's records.
    eMsgStatus getIndexes(cObjectList* request, cObjectList* answer, int timeoutMs);

    /// Answers that matched no request, since the client was made.
    uint64_t unmatchedAnswers() const;

private:
    using SocketPtr = std::shared_ptr<cLinkSocket>;

    // The life of the link, on the receiving thread.
    void receiveLoop();
    SocketPtr openConnection(std::string* problem);
    std::string runConnection(cLinkSocket& socket);
    std::string watchConnection();
    std::string waitForProblem(int timeoutMs);
    std::string checkKeepalive(int64_t heardAt, bool* pinged);
    int idleTimeoutMs(bool pinged) const;
    std::string handleBytes(const uint8_t* data, size_t size);
    bool handleMessage(const WMsg& message);
    void handleAnswer(const WMsg& message);
    void connectionUp(const SocketPtr& socket);
    void connectionDown();
    void pause(const std::string& problem);
    int nextPause();
    void callHost();
    bool waitForReader();
    bool sendBacklogExceeded() const;
    void adjustPump();

    // The host's thread, and the receiving one where the host is busy.
    bool isReadable() const;
    bool isBroken() const;
    bool readSome(SocketPtr* socket);
    void readForHost();

    // The sending thread.
    void sendLoop();
    bool takeNext(cOutQueue::Entry* entry, SocketPtr* socket);
    bool transmit(const cOutQueue::Entry& entry, cLinkSocket& socket);

    // Any thread that sends.
    WStatus encodeAndSubmit(const cObjectList* list);
    void submit(cOutQueue::Entry* entry);
    bool sendsAtOnce(const cOutQueue::Entry& entry) const;
    void sendAtOnce(cOutQueue::Entry* entry);
    void linkBroken(cOutQueue::Entry* unsent);
    void giveBack(cOutQueue::Entry* unsent);
    void giveNumber(cOutQueue::Entry* entry);

    void stopLink();
    std::shared_ptr<cCaptureFile> capture() const;
    bool stopping() const;
    void reportFirstAttempt(bool connected);
    void sendPing();
    void answerPing();
    void warnOfDropped();
    eMsgStatus request(uint8_t type, cObjectList* list, cObjectList* answer, int timeoutMs);

    const Settings mSettings;
    cEventPump mEventPump;
    cWakeup mWakeup;
    cLinkDriver* mHost = nullptr; ///< set before the threads start

    // The receiving thread's own; start() sets them before that thread runs.
    std::string mAddress;
    uint16_t mPort = 0;

    std::mutex mReading; ///< taken before mMutex

    // Guarded by mReading. mConnection changes under both, so that either is enough to look at it.
    WMsgReader mReader;
    WMsg mReceived;
    std::array<uint8_t, 2048> mReceiveBuffer{};
    cReconnectBackoff mPause;

    std::atomic<int64_t> mHeardAt{0}; ///< when the peer was heard last, by linkNowMs()

    // The host's thread's own.
    SocketPtr mServed; ///< kept open as long as the host may be watching it
    bool mServing = false;

    // The sending thread's own.
    std::array<uint8_t, wmsg::kMaxSegmentSize> mTransmitBuffer{};

    mutable std::mutex mMutex;
    std::condition_variable mTransmitChanged; ///< the sending thread waits
    std::condition_variable mReceiveChanged;  ///< start(), a request or the receiving thread waits

    // Guarded by mMutex.
    bool mStarted = false;
    bool mStopping = false;
    enum class eAttempt
    {
        PENDING,
        CONNECTED,
        FAILED
    } mFirstAttempt = eAttempt::PENDING;
    std::shared_ptr<cCaptureFile> mCapture; ///< null while nothing is recorded
    SocketPtr mSocket;
    std::string mProblem;     ///< why mSocket can't go on, or empty
    uint64_t mConnection = 0; ///< counts connections from 1; 0 before the first
    cOutQueue mOutQueue;
    std::optional<cOutQueue::Entry> mBegun; ///< mSocket has got a part of it
    bool mTransmitting = false;             ///< the sending thread is in the middle of a message
    bool mHolding = false;                  ///< answers piled up when that was last looked at
    uint64_t mPingsUnanswered = 0;          ///< answered as far as the peer reads; a number needs no room
    WMsg mSpare;                            ///< what the next list is encoded into
    std::vector<uint8_t> mFrames;           ///< what is being sent at once
    cMsgRegistry mRegistry;
    size_t mOutstanding = 0; ///< requests that somebody waits for, queued or sent
    uint8_t mCurrMsgSeq = 0;
    uint64_t mUnmatched = 0;

    // The starting thread's own.
    std::thread mReceiveThread;
    std::thread mSendThread;
};

#endif

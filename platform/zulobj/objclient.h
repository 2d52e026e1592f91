#ifndef ZULOBJ_OBJCLIENT_H
#define ZULOBJ_OBJCLIENT_H

#include <array>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "wlog/wlog.h"
#include "wmsg/wmsg.h"
#include "wmsg/wmsgreader.h"
#include "zulobj/eventpump.h"
#include "zulobj/linksocket.h"
#include "zulobj/msgreg.h"
#include "zulobj/objectlist.h"
#include "zulobj/outqueue.h"
#include "zulobj/reconnectpause.h"
#include "zulobj/wakeup.h"

/// Keeps a device's connection to the monitoring server.
///
/// Once started it connects, connects again after every loss, pings an idle peer and gives up on a silent
/// one. docs/protocol.md describes the life of a connection.
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

    /// Starts the threads and the first attempt to connect to @p address, a name or a number, and @p port,
    /// 0 to 65535. True when the connection stands within 3 seconds. False does not mean the end: the
    /// client goes on trying, unless the address is null or empty or the port out of range, which starts
    /// nothing. Started again, it gives its connection up and turns to the new address; events that wait
    /// are kept. One thread at a time; no listener may be waiting for that thread's return from stop().
    bool start(const char* address, int port);

    /// Ends the connection and joins every thread. What waits to be sent is dropped.
    void stop();

    /// Copies what it needs from @p list and queues it; any thread may call. A list of type 0 or 1 that is
    /// sent while a message of the same type is being delivered is the answer to that message. Events wait
    /// for the link, oldest dropped first when too many do. A client that was never started drops all.
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
    std::string handleBytes(const uint8_t* data, size_t size, WMsgReader* reader);
    bool handleMessage(WMsg&& message, size_t bytes);
    void handleAnswer(const WMsg& message);
    void connectionUp(const SocketPtr& socket);
    void connectionDown();
    void pause(const std::string& problem);
    bool waitForReader(int64_t* heardAt);
    bool answersPileUp() const;
    void adjustPump();

    // The sending thread.
    void sendLoop();
    bool takeNext(cOutQueue::Entry* entry, SocketPtr* socket);
    bool transmit(const WMsg& message, cLinkSocket& socket);
    void giveNumber(cOutQueue::Entry* entry);

    void stopLink();
    std::shared_ptr<cCaptureFile> capture() const;
    bool stopping() const;
    void reportFirstAttempt(bool connected);
    void queue(cOutQueue::Entry entry);
    void queuePing();
    void answerPing();
    void warnOfDropped();
    eMsgStatus request(uint8_t type, cObjectList* list, cObjectList* answer, int timeoutMs);

    const Settings mSettings;
    cEventPump mEventPump;
    cWakeup mWakeup;

    // The receiving thread's own; start() sets the first three before that thread runs.
    std::string mAddress;
    uint16_t mPort = 0;
    cReconnectPause mPause;
    std::array<uint8_t, 2048> mReceiveBuffer{};

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
    bool mBroken = false;     ///< sending on mSocket failed; the receiving thread is about to drop it
    uint64_t mConnection = 0; ///< counts connections from 1; 0 before the first
    cOutQueue mOutQueue;
    uint64_t mPingsUnanswered = 0; ///< answered as far as the peer reads; a number needs no room
    cMsgRegistry mRegistry;
    size_t mOutstanding = 0; ///< requests that somebody waits for, queued or sent
    uint8_t mCurrMsgSeq = 0;
    uint64_t mUnmatched = 0;

    // The starting thread's own.
    std::thread mReceiveThread;
    std::thread mSendThread;
};

#endif

#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "wlog/wlog.h"
#include "zullink/linksession.h"
#include "zullink/linksettings.h"
#include "zullink/linksocket.h"
#include "zullink/linkstate.h"
#include "zullink/reconnectbackoff.h"
#include "zullink/wakeup.h"

/// Drives the session of a side that connects, and connects again after every loss.
///
/// The link thread connects and writes what could not be written at once. Without a driver it also reads, and
/// a second thread delivers. With a driver both happen on the driver's thread; if that is busy for longer
/// than pingAfterMs, the link thread reads in its place, so that pings are answered.
class cLinkClient
{
public:
    /// No further message is read while more bytes than this wait to be delivered.
    static constexpr size_t kMaxQueuedBytes = 256 * 1024;

    /// Called with each message that is not an answer, one at a time, without a lock.
    using Delivery = std::function<void(const WMsg&)>;

    /// @p log is borrowed.
    cLinkClient(const sLinkSettings& settings, const cWlog& log, Delivery deliver);
    ~cLinkClient();

    // As in cObjectClient.
    void recordTo(std::shared_ptr<cCaptureFile> file);
    void setDriver(std::function<void()> requestProcessing) { mDriver = std::move(requestProcessing); }
    int processIo();
    bool start(const char* address, int port);
    void stop();
    void disconnect();
    void finish();
    void setStateObserver(std::function<void(const sLinkState&)> observer);
    sLinkState state() const;
    uint64_t unmatchedAnswers() const;

    /// Sends @p message. If @p mayAnswer and a message of its type is being delivered, it is the answer.
    void send(WMsg message, bool mayAnswer);

    enum eOutcome
    {
        ANSWERED,
        UNANSWERED, ///< not sent, or the connection was lost, or no answer in time
        BUSY        ///< too many requests are outstanding
    };

    /// Sends @p message and waits for its answer.
    eOutcome request(WMsg message, int timeoutMs, WMsg* answer);

private:
    using SocketPtr = std::shared_ptr<cLinkSocket>;

    // The link thread.
    void keepLink(const std::stop_token& stop);
    WStatus connect(SocketPtr* socket);
    void setSocket(const SocketPtr& socket, const std::string& problem, const std::stop_token& stop);
    void warnOfDropped();
    std::string keepConnection(const std::stop_token& stop, const cLinkSocket& socket);
    short process(int64_t nowMs, bool reads);
    void pause(const std::stop_token& stop, const std::string& problem);
    std::string server() const { return mAddress + " port " + std::to_string(mPort); }

    // The thread that delivers.
    void reportStates(std::unique_lock<std::mutex>* lock);
    bool mayDeliver() const { return !mInbound.empty() && !mSession.backlogExceeded(); }
    void deliverNext(std::unique_lock<std::mutex>* lock);

    // Any thread. The caller holds mMutex.
    bool startThreads();
    void setState(sLinkState::eState state, const std::string& reason, const std::string& server);
    bool receive(int64_t nowMs);
    void flush(int64_t nowMs);
    void updateReading(int64_t nowMs);
    void requestDelivery();
    static void end(const std::vector<LinkSession::AnswerHandler>& handlers);

    const sLinkSettings mSettings;
    const cWlog& mLog;
    const Delivery mDeliver;
    std::function<void()> mDriver; ///< has processIo() called soon; null if there is none
    std::function<void(const sLinkState&)> mStateObserver; ///< null if there is none
    cWakeup mWakeup;                                       ///< of the link thread

    // The link thread's own; start() sets them before that thread runs.
    std::string mAddress;
    uint16_t mPort = 0;
    cReconnectBackoff mBackoff;

    // The driver's thread's own.
    SocketPtr mServed; ///< kept open as long as the driver may be watching it
    bool mProcessing = false;

    mutable std::mutex mMutex;
    std::condition_variable_any mChanged;

    // Guarded by mMutex.
    LinkNumbers mNumbers;
    LinkSession mSession;
    SocketPtr mSocket; ///< null while the link is down
    std::shared_ptr<cCaptureFile> mCapture;
    std::deque<LinkSession::Received> mInbound; ///< messages to be delivered
    size_t mInboundBytes = 0;
    const LinkSession::Received* mDelivering = nullptr; ///< the message that is being delivered
    bool mReading = false;                              ///< the socket is to be read
    bool mBackpressured = false;                        ///< too many answers wait: nothing is delivered
    bool mBlocked = false;                              ///< the link thread waits until more can be written
    bool mStarted = false;
    std::optional<bool> mFirstAttempt; ///< whether it has connected; none while it lasts
    sLinkState mState;
    std::deque<sLinkState> mStateChanges; ///< that the observer has not seen

    // The starting thread's own.
    std::jthread mLinkThread;
    std::jthread mDeliveryThread; ///< only without a driver
};

#include "zullink/linkclient.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <poll.h>
#include <random>
#include <system_error>
#include <utility>

#include "zullink/hostport.h"
#include "zullink/linkclock.h"

namespace {

/// The link thread reads at most this many times before it looks at other things.
constexpr int kMaxReads = 16;

/// What a message that waits to be delivered takes.
size_t sizeOf(const WMsg& message) { return message.payload.size() + wmsg::kHeaderSize; }

} // namespace

cLinkClient::cLinkClient(const sLinkSettings& settings, const cWlog& log, Delivery deliver)
    : mSettings(settings),
      mLog(log),
      mDeliver(std::move(deliver)),
      mBackoff(settings.firstPauseMs, settings.longestPauseMs, std::random_device{}()),
      mSession({settings, true, "the server is silent", "received bytes make no sense: "}, &mNumbers)
{}

cLinkClient::~cLinkClient() { stop(); }

void cLinkClient::recordTo(std::shared_ptr<cCaptureFile> file)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mCapture = std::move(file);
}

uint64_t cLinkClient::unmatchedAnswers() const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return mSession.unmatchedAnswers();
}

bool cLinkClient::start(const char* address, int port)
{
    if (address == nullptr || *address == '\0' || port < 0 || port > 0xFFFF) {
        return false;
    }
    mLinkThread = {};
    mAddress = address;
    mPort = static_cast<uint16_t>(port);
    mBackoff.reset();

    std::unique_lock<std::mutex> lock(mMutex);
    setState(sLinkState::DOWN, "", toText({mAddress, mPort}));
    mFirstAttempt.reset();
    mStarted = startThreads();
    mChanged.wait_for(lock, std::chrono::milliseconds(mSettings.startMs),
                      [this] { return !mStarted || mFirstAttempt; });
    const bool connected = mFirstAttempt.value_or(false);
    reportStates(&lock);
    return connected;
}

/// Starts the threads that do not run yet. The caller holds mMutex.
bool cLinkClient::startThreads()
{
    try {
        if (!mDriver && !mDeliveryThread.joinable()) {
            mDeliveryThread = std::jthread([this](const std::stop_token& stop) {
                std::unique_lock<std::mutex> lock(mMutex);
                while (mChanged.wait(lock, stop, [this] { return mayDeliver(); }) && !stop.stop_requested()) {
                    deliverNext(&lock);
                }
            });
        }
        mLinkThread = std::jthread([this](const std::stop_token& stop) { keepLink(stop); });
        return true;
    } catch (const std::system_error& failure) {
        setState(sLinkState::DOWN, "the system refuses a thread", mState.server);
        mLog.error(
            ("The link is missing, as its thread could not be started: " + failure.code().message()).c_str());
        return false;
    }
}

void cLinkClient::stop()
{
    mLinkThread = {};
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mStarted = false;
        mState.state = sLinkState::OFF;
        mStateChanges.clear();
        mInbound.clear();
        mInboundBytes = 0;
        end(mSession.clear());
    }
    mDeliveryThread = {};
    mServed.reset();
}

/// The queue stays, and takes further events.
void cLinkClient::disconnect()
{
    mLinkThread = {};
    std::unique_lock<std::mutex> lock(mMutex);
    setState(sLinkState::OFF, "told to disconnect", mState.server);
    reportStates(&lock);
}

void cLinkClient::finish()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    // What was asked and is not delivered yet is still to be answered.
    if (mSocket && mInbound.empty() && mDelivering == nullptr) {
        if (mSession.finish(linkNowMs())) {
            mSocket->endWriting();
        }
        flush(linkNowMs());
    }
}

void cLinkClient::setStateObserver(std::function<void(const sLinkState&)> observer)
{
    mStateObserver = std::move(observer);
}

sLinkState cLinkClient::state() const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    sLinkState state = mState;
    state.waiting = mSession.waitingEvents();
    state.dropped = mSession.droppedEvents();
    return state;
}

void cLinkClient::setState(sLinkState::eState state, const std::string& reason, const std::string& server)
{
    if (state == mState.state && reason == mState.reason && server == mState.server) {
        return;
    }
    if (state != mState.state) {
        mState.since = std::chrono::system_clock::now();
    }
    mState.state = state;
    mState.reason = reason;
    mState.server = server;
    if (mStateObserver) {
        mStateChanges.push_back(mState);
        requestDelivery();
    }
}

void cLinkClient::end(const std::vector<LinkSession::AnswerHandler>& handlers)
{
    for (const LinkSession::AnswerHandler& handler : handlers) {
        handler(nullptr);
    }
}

void cLinkClient::send(WMsg message, bool mayAnswer)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    if (!mStarted) {
        return;
    }
    if (mayAnswer && mDelivering != nullptr && mDelivering->message.type == message.type) {
        mSession.answer(mDelivering->token, std::move(message));
    } else {
        mSession.send(std::move(message));
    }
    flush(linkNowMs());
}

cLinkClient::eOutcome cLinkClient::request(WMsg message, int timeoutMs, WMsg* answer)
{
    std::unique_lock<std::mutex> lock(mMutex);
    if (!mStarted) {
        return UNANSWERED;
    }
    eOutcome outcome = UNANSWERED;
    bool ended = false;
    const uint64_t request = mSession.request(std::move(message), [&](const WMsg* received) {
        ended = true;
        if (received != nullptr) {
            *answer = *received;
            outcome = ANSWERED;
        }
        mChanged.notify_all();
    });
    if (request == 0) {
        return BUSY;
    }
    flush(linkNowMs());
    if (!mChanged.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] { return ended; })) {
        mSession.giveUp(request);
    }
    return outcome;
}

// The link thread.

void cLinkClient::keepLink(const std::stop_token& stop)
{
    const std::stop_callback wake(stop, [this] {
        mWakeup.wake();
        const std::lock_guard<std::mutex> lock(mMutex);
        if (mSocket) {
            mSocket->shutDown();
        }
    });
    for (mWakeup.reset(); !stop.stop_requested(); mWakeup.reset()) {
        SocketPtr socket;
        const WStatus status = connect(&socket);
        std::string problem = socket ? "" : status.problem();
        setSocket(socket, problem, stop);
        if (socket) {
            warnOfDropped();
            problem = keepConnection(stop, *socket);
            warnOfDropped();
            setSocket(nullptr, problem, stop);
        }
        pause(stop, problem);
    }
}

WStatus cLinkClient::connect(SocketPtr* socket)
{
    const int64_t deadline = linkNowMs() + mSettings.connectMs;
    const auto addresses = resolveAddress(mAddress, mPort, mSettings.connectMs, mWakeup.fd());
    const auto leftMs = static_cast<int>(deadline - linkNowMs());
    const WStatus status = cLinkSocket::connectTo(addresses, leftMs, mWakeup.fd(), socket);
    if (status.isOk()) {
        mLog.info(("Connected to " + server()).c_str());
    }
    return status;
}

/// Puts @p socket, which is null while the link is down because of @p problem, in the place of the one
/// before. Tells start() how the first attempt came out.
void cLinkClient::setSocket(const SocketPtr& socket, const std::string& problem, const std::stop_token& stop)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    if (mSocket) {
        if (mSession.hasReceived()) {
            mBackoff.reset();
        }
        end(mSession.disconnected());
        mSocket->shutDown();
    }
    mSocket = socket;
    if (mSocket) {
        mSocket->recordTo(mCapture, cCapturedLink::CONNECTED);
        mSession.connected(linkNowMs());
    }
    if (!stop.stop_requested()) {
        setState(mSocket ? sLinkState::UP : sLinkState::DOWN, mSocket ? "" : problem, mState.server);
    }
    updateReading(linkNowMs());
    if (!mFirstAttempt) {
        mFirstAttempt = mSocket != nullptr;
        mChanged.notify_all();
    }
}

void cLinkClient::warnOfDropped()
{
    LinkSession::Dropped dropped;
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        dropped = mSession.takeDropped();
    }
    const auto warn = [this](uint64_t count, const char* why) {
        if (count > 0) {
            mLog.warn((std::to_string(count) + " events were dropped " + why).c_str());
        }
    };
    warn(dropped.whileDown, "while the link was down");
    warn(dropped.whileUp, "as the server did not read them");
}

/// Keeps the connection until it can't go on. Returns why.
std::string cLinkClient::keepConnection(const std::stop_token& stop, const cLinkSocket& socket)
{
    bool reads = false;
    while (!stop.stop_requested()) {
        short events = 0;
        int64_t waitMs = mSettings.pingAfterMs;
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            const int64_t nowMs = linkNowMs();
            events = process(nowMs, reads);
            if (!mSession.problem().empty()) {
                return socket.isClosed() ? "the connection was closed" : mSession.problem();
            }
            waitMs = std::clamp<int64_t>(mSession.deadline() - nowMs, 0, waitMs);
        }
        if ((events & POLLOUT) == 0) {
            warnOfDropped();
        }
        // A closed socket would end each poll(), so it is left out unless something is to be done with it.
        pollfd waits[] = {{events == 0 ? -1 : socket.fd(), events, 0}, {mWakeup.fd(), POLLIN, 0}};
        reads = ::poll(waits, 2, static_cast<int>(waitMs)) > 0 && (waits[0].revents & ~POLLOUT) != 0;
        mWakeup.reset();
    }
    return "stopped";
}

/// Does what can be done without waiting; reads if @p reads. Returns the events to wait for. The caller holds
/// mMutex.
short cLinkClient::process(int64_t nowMs, bool reads)
{
    flush(nowMs);
    if (reads || nowMs >= mSession.deadline()) {
        // With a driver, only if that is too busy to read. Silence is judged when nothing is left to be read.
        for (int times = 0; times < kMaxReads && receive(nowMs); ++times) {
            requestDelivery();
        }
        mSession.checkTimes(nowMs);
        flush(nowMs);
    }
    return static_cast<short>((mBlocked ? POLLOUT : 0) | (mReading && !mDriver ? POLLIN : 0));
}

void cLinkClient::pause(const std::stop_token& stop, const std::string& problem)
{
    if (stop.stop_requested()) {
        return;
    }
    const int pauseMs = mBackoff.next();
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.1f", pauseMs / 1000.0);
    mLog.warn(("No link to " + server() + ": " + problem + "; next attempt in " + seconds + " s").c_str());
    std::unique_lock<std::mutex> lock(mMutex);
    mChanged.wait_for(lock, stop, std::chrono::milliseconds(pauseMs), [] { return false; });
}

// The thread that delivers.

int cLinkClient::processIo()
{
    std::unique_lock<std::mutex> lock(mMutex);
    // A listener that calls has its message delivered first.
    if (!mProcessing) {
        mProcessing = true;
        reportStates(&lock);
        mServed = mSocket;
        receive(linkNowMs());
        while (mayDeliver()) {
            deliverNext(&lock);
        }
        mProcessing = false;
    }
    return mReading && mServed == mSocket ? mServed->fd() : -1;
}

/// @p lock is released while the observer is called.
void cLinkClient::reportStates(std::unique_lock<std::mutex>* lock)
{
    while (!mStateChanges.empty()) {
        const sLinkState state = std::move(mStateChanges.front());
        mStateChanges.pop_front();
        lock->unlock();
        mStateObserver(state);
        lock->lock();
    }
}

/// @p lock is released while the message is delivered.
void cLinkClient::deliverNext(std::unique_lock<std::mutex>* lock)
{
    const LinkSession::Received received = std::move(mInbound.front());
    mInbound.pop_front();
    mInboundBytes -= sizeOf(received.message);
    updateReading(linkNowMs());
    mDelivering = &received;
    lock->unlock();
    mDeliver(received.message);
    lock->lock();
    mDelivering = nullptr;
}

// Any thread. The caller holds mMutex.

/// Reads once what has come, without waiting. True if something has come.
bool cLinkClient::receive(int64_t nowMs)
{
    if (!mReading) {
        return false;
    }
    const auto onMessage = [this](LinkSession::Received&& received) {
        if (!received.message.answer) {
            mInboundBytes += sizeOf(received.message);
            mInbound.push_back(std::move(received));
        }
    };
    const bool received = mSocket->receive(&mSession, nowMs, onMessage);
    flush(nowMs);
    return received;
}

/// Writes what the connection takes without waiting, and leaves the rest to the link thread.
void cLinkClient::flush(int64_t nowMs)
{
    if (!mSocket) {
        return;
    }
    const bool wasBlocked = std::exchange(mBlocked, !mSocket->flush(&mSession, nowMs));
    updateReading(nowMs);
    if (!mSession.problem().empty() || (mBlocked && !wasBlocked)) {
        mWakeup.wake();
    }
}

/// Reads unless too much waits to be written or delivered.
void cLinkClient::updateReading(int64_t nowMs)
{
    const bool backpressured = mSession.backlogExceeded();
    const bool reading =
        mSocket && mSession.problem().empty() && !backpressured && mInboundBytes <= kMaxQueuedBytes;
    mSession.setReading(reading, nowMs);
    if ((reading && !mReading) || (!backpressured && mBackpressured)) {
        requestDelivery();
        mWakeup.wake();
    }
    mReading = reading;
    mBackpressured = backpressured;
}

void cLinkClient::requestDelivery()
{
    mChanged.notify_all();
    if (mDriver) {
        mDriver();
    }
}

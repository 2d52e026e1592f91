#include "zulobj/objclient.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <utility>

#include "zullink/linkclock.h"

namespace {

/// What is longer waits for the sending thread: sending it at once would need as much room again.
constexpr size_t kMaxAtOnce = 128 * 1024;

constexpr char kClosed[] = "the connection was closed";

} // namespace

cObjectClient::cObjectClient(const Settings& settings)
    : cWlog("zulobj.client"),
      mSettings(settings),
      mPause(settings.firstPauseMs, settings.longestPauseMs, std::random_device{}()),
      mOutQueue(settings.queueBytes)
{}

cObjectClient::~cObjectClient() { stop(); }

void cObjectClient::addListener(cObjectListener* listener) { mEventPump.addListener(listener); }

void cObjectClient::recordTo(std::shared_ptr<cCaptureFile> file)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mCapture = std::move(file);
}

bool cObjectClient::start(const char* address, int port)
{
    if (address == nullptr || *address == '\0' || port < 0 || port > 0xFFFF) {
        return false;
    }
    stopLink();
    mAddress = address;
    mPort = static_cast<uint16_t>(port);
    mPause.reset();
    mWakeup.reset();
    mEventPump.refuse(false);
    if (mHost == nullptr) {
        mEventPump.start();
    }

    std::unique_lock<std::mutex> lock(mMutex);
    mStarted = true;
    mStopping = false;
    mFirstAttempt = eAttempt::PENDING;
    mReceiveThread = std::thread(&cObjectClient::receiveLoop, this);
    mSendThread = std::thread(&cObjectClient::sendLoop, this);
    mReceiveChanged.wait_for(lock, std::chrono::milliseconds(mSettings.startMs),
                             [this] { return mFirstAttempt != eAttempt::PENDING; });
    return mFirstAttempt == eAttempt::CONNECTED;
}

void cObjectClient::stop()
{
    stopLink();
    mEventPump.stop();
    mServed.reset();
    const std::lock_guard<std::mutex> lock(mMutex);
    mStarted = false;
    cOutQueue::Entry dropped;
    while (mOutQueue.pop(&dropped)) {
        if (dropped.request != nullptr) {
            dropped.request->status = MSG_ERROR;
            dropped.request->complete = true;
        }
    }
    mReceiveChanged.notify_all();
}

/// Ends both threads of the link; the event pump, which may be waiting for the caller, goes on.
void cObjectClient::stopLink()
{
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mStopping = true;
        if (mSocket) {
            mSocket->shutDown();
        }
    }
    mWakeup.wake();
    mEventPump.refuse(true);
    mTransmitChanged.notify_all();
    mReceiveChanged.notify_all();
    if (mReceiveThread.joinable()) {
        mReceiveThread.join();
    }
    if (mSendThread.joinable()) {
        mSendThread.join();
    }
}

void cObjectClient::send(cObjectList* list)
{
    const WStatus status = encodeAndSubmit(list);
    if (!status.isOk()) {
        error(("Not sent: " + status.text()).c_str());
    }
}

WStatus cObjectClient::encodeAndSubmit(const cObjectList* list)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    cOutQueue::Entry entry;
    entry.message = std::exchange(mSpare, WMsg());
    entry.message.answer = false;
    const WStatus status = list->encode(&entry.message);
    if (!status.isOk()) {
        return status;
    }
    cEventPump::Delivery delivery;
    const uint8_t type = list->getMsgType();
    const bool answerable = type == cObjectList::kSet || type == cObjectList::kRequest;
    if (answerable && mEventPump.delivering(type, &delivery)) {
        entry.message.answer = true;
        entry.message.seq = delivery.seq;
        entry.connection = delivery.connection;
        entry.numbered = true;
    }
    submit(&entry);
    if (entry.message.payload.capacity() <= kMaxAtOnce) {
        mSpare = std::move(entry.message);
    }
    return status;
}

cObjectClient::eMsgStatus cObjectClient::get(cObjectList* request, cObjectList* answer, int timeoutMs)
{
    return this->request(cObjectList::kRequest, request, answer, timeoutMs);
}

cObjectClient::eMsgStatus cObjectClient::set(cObjectList* request, cObjectList* answer, int timeoutMs)
{
    return this->request(cObjectList::kSet, request, answer, timeoutMs);
}

cObjectClient::eMsgStatus cObjectClient::getIndexes(cObjectList* request, cObjectList* answer, int timeoutMs)
{
    cObjectList whole;
    const eMsgStatus status = get(request, &whole, timeoutMs);
    if (status != MSG_OK) {
        return status;
    }
    answer->deleteObjects();
    answer->setMsgType(whole.getMsgType());
    answer->setMsgSeq(whole.getMsgSeq());
    for (cObject* object = whole.first(); object != nullptr; object = whole.next()) {
        answer->add(object->cloneKey());
    }
    return MSG_OK;
}

uint64_t cObjectClient::unmatchedAnswers() const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return mUnmatched;
}

cObjectClient::eMsgStatus cObjectClient::request(uint8_t type, cObjectList* list, cObjectList* answer,
                                                 int timeoutMs)
{
    cOutQueue::Entry entry;
    list->setMsgType(type);
    if (!list->encode(&entry.message).isOk()) {
        return MSG_ERROR;
    }
    std::unique_lock<std::mutex> lock(mMutex);
    if (!mStarted || mStopping) {
        return MSG_ERROR;
    }
    if (mOutstanding + mRegistry.givenUp() >= cMsgRegistry::kMaxOutstanding) {
        return MSG_BUSY;
    }
    ++mOutstanding;
    cMsgReg waiting;
    waiting.answer = answer;
    entry.request = &waiting;
    submit(&entry);
    mReceiveChanged.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                             [&] { return waiting.complete || mStopping; });
    mRegistry.giveUp(&waiting);
    mOutQueue.dropRequest(&waiting);
    --mOutstanding;
    return waiting.status == MSG_WAITING ? MSG_ERROR : waiting.status;
}

std::shared_ptr<cCaptureFile> cObjectClient::capture() const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return mCapture;
}

bool cObjectClient::stopping() const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return mStopping;
}

void cObjectClient::reportFirstAttempt(bool connected)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    if (mFirstAttempt == eAttempt::PENDING) {
        mFirstAttempt = connected ? eAttempt::CONNECTED : eAttempt::FAILED;
        mReceiveChanged.notify_all();
    }
}

/// Sends @p *entry at once or queues it, or drops it where its connection is gone. The caller holds mMutex.
void cObjectClient::submit(cOutQueue::Entry* entry)
{
    const bool dead = entry->connection != cOutQueue::kAnyConnection &&
                      (entry->connection != mConnection || mSocket == nullptr || isBroken());
    if (!mStarted || dead) {
        return;
    }
    if (sendsAtOnce(*entry)) {
        sendAtOnce(entry);
        return;
    }
    // What was encoded into has room for more; the queue counts what is filled.
    entry->message.payload.shrink_to_fit();
    mOutQueue.push(std::exchange(*entry, {}));
    adjustPump();
    mTransmitChanged.notify_one();
}

/// True where nothing is to go before it. The caller holds mMutex.
bool cObjectClient::sendsAtOnce(const cOutQueue::Entry& entry) const
{
    return mSocket && !isBroken() && !mStopping && !mTransmitting && !mBegun && mPingsUnanswered == 0 &&
           mOutQueue.empty() && entry.message.payload.size() <= kMaxAtOnce;
}

/// What the connection does not take now is left to the sending thread. The caller holds mMutex.
void cObjectClient::sendAtOnce(cOutQueue::Entry* entry)
{
    giveNumber(entry);
    mFrames.clear();
    entry->message.appendFrames(mFrames);
    const cLinkSocket::eOutcome outcome =
        mSocket->sendSome(mFrames.data(), mFrames.size(), &entry->sentBytes);
    if (outcome == cLinkSocket::CLOSED) {
        linkBroken(entry);
    } else if (entry->sentBytes < mFrames.size()) {
        mBegun = std::exchange(*entry, {});
        mTransmitChanged.notify_one();
    }
}

/// Sending @p *unsent has broken the connection. The caller holds mMutex.
void cObjectClient::linkBroken(cOutQueue::Entry* unsent)
{
    mSocket->shutDown();
    mProblem = kClosed;
    mReceiveChanged.notify_all();
    giveBack(unsent);
    mOutQueue.dropOthers(cOutQueue::kAnyConnection);
    adjustPump();
}

/// Queues what a dead connection has not got, if another one may have it. The caller holds mMutex.
void cObjectClient::giveBack(cOutQueue::Entry* unsent)
{
    if (unsent->connection == cOutQueue::kAnyConnection && unsent->request == nullptr) {
        // Only whole messages count for the peer, so what was cut off goes out again in full.
        unsent->sentBytes = 0;
        mOutQueue.pushFront(std::exchange(*unsent, {}));
    }
}

void cObjectClient::sendPing()
{
    cOutQueue::Entry entry;
    entry.message = WMsg::ping(false);
    entry.numbered = true;
    const std::lock_guard<std::mutex> lock(mMutex);
    entry.connection = mConnection;
    submit(&entry);
}

void cObjectClient::answerPing()
{
    cOutQueue::Entry entry;
    entry.message = WMsg::ping(true);
    entry.numbered = true;
    const std::lock_guard<std::mutex> lock(mMutex);
    entry.connection = mConnection;
    if (sendsAtOnce(entry)) {
        sendAtOnce(&entry);
        return;
    }
    ++mPingsUnanswered;
    mTransmitChanged.notify_one();
}

void cObjectClient::warnOfDropped()
{
    uint64_t dropped = 0;
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        dropped = mOutQueue.takeDropped();
    }
    if (dropped > 0) {
        warn(logText("%llu events were dropped while the link was down",
                     static_cast<unsigned long long>(dropped)));
    }
}

void cObjectClient::receiveLoop()
{
    while (!stopping()) {
        std::string problem;
        const SocketPtr socket = openConnection(&problem);
        if (socket) {
            info(logText("Connected to %s port %u", mAddress.c_str(), mPort));
            connectionUp(socket);
            warnOfDropped();
            problem = mHost == nullptr ? runConnection(*socket) : watchConnection();
            connectionDown();
        } else {
            reportFirstAttempt(false);
        }
        if (!stopping()) {
            pause(problem);
        }
    }
}

cObjectClient::SocketPtr cObjectClient::openConnection(std::string* problem)
{
    const int64_t deadline = linkNowMs() + mSettings.connectMs;
    const std::vector<sLinkAddress> addresses =
        resolveAddress(mAddress, mPort, mSettings.connectMs, mWakeup.fd());
    *problem = "the name has no address";
    const int left = static_cast<int>(std::max<int64_t>(deadline - linkNowMs(), 1));
    SocketPtr socket = cLinkSocket::connectToAny(addresses, left, mWakeup.fd(), problem);
    if (socket) {
        socket->recordTo(capture());
    }
    return socket;
}

void cObjectClient::connectionUp(const SocketPtr& socket)
{
    {
        const std::lock_guard<std::mutex> reading(mReading);
        mReader = WMsgReader();
        mHeardAt = linkNowMs();
        const std::lock_guard<std::mutex> lock(mMutex);
        mSocket = socket;
        mProblem.clear();
        ++mConnection;
        if (mStopping) {
            // stop() came between the attempt and now, and had no connection to shut down.
            socket->shutDown();
        }
    }
    reportFirstAttempt(true);
    mTransmitChanged.notify_all();
    callHost();
}

void cObjectClient::connectionDown()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mSocket->shutDown();
    mSocket.reset();
    if (mBegun) {
        giveBack(&*mBegun);
        mBegun.reset();
    }
    mPingsUnanswered = 0;
    mOutQueue.dropOthers(cOutQueue::kAnyConnection);
    adjustPump();
    mRegistry.failAll(MSG_ERROR);
    mReceiveChanged.notify_all();
}

/// Reads until the connection can't go on. Returns why.
std::string cObjectClient::runConnection(cLinkSocket& socket)
{
    const std::lock_guard<std::mutex> reading(mReading);
    bool pinged = false;
    while (waitForReader()) {
        // A listener may have taken its time: what has come meanwhile is read before silence is judged.
        const int64_t heardAt = mHeardAt;
        const int64_t wait = std::max<int64_t>(heardAt + idleTimeoutMs(pinged) - linkNowMs(), 0);
        size_t received = 0;
        const cLinkSocket::eOutcome outcome = socket.receive(mReceiveBuffer.data(), mReceiveBuffer.size(),
                                                             static_cast<int>(wait), mWakeup.fd(), &received);
        if (outcome == cLinkSocket::CLOSED) {
            return kClosed;
        }
        std::string problem = outcome == cLinkSocket::DONE ? handleBytes(mReceiveBuffer.data(), received)
                                                           : checkKeepalive(heardAt, &pinged);
        if (!problem.empty()) {
            return problem;
        }
        if (outcome == cLinkSocket::DONE) {
            mHeardAt = linkNowMs();
            pinged = false;
        }
    }
    return "stopped";
}

/// Leaves reading to the host, and looks after it when nothing was heard for some time. Returns why the
/// connection can't go on.
std::string cObjectClient::watchConnection()
{
    bool pinged = false;
    int64_t heardAt = mHeardAt;
    std::string problem;
    while (problem.empty()) {
        // The host may have heard the peer at any moment since.
        const int64_t before = std::exchange(heardAt, mHeardAt.load());
        pinged = pinged && heardAt == before;
        // A peer that has answered the ping is idle again: that is looked at in time for the next one.
        const int64_t left = heardAt + idleTimeoutMs(pinged) - linkNowMs();
        problem = waitForProblem(static_cast<int>(std::clamp<int64_t>(left, 0, mSettings.pingAfterMs)));
        if (problem.empty()) {
            readForHost();
            const std::lock_guard<std::mutex> reading(mReading);
            problem = mHeardAt == heardAt ? checkKeepalive(heardAt, &pinged) : std::string();
        }
    }
    return problem;
}

/// Waits so long for the connection to break. Returns why it can't go on, or an empty text.
std::string cObjectClient::waitForProblem(int timeoutMs)
{
    std::unique_lock<std::mutex> lock(mMutex);
    mReceiveChanged.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                             [this] { return mStopping || isBroken(); });
    if (sendBacklogExceeded()) {
        // Whoever is not listened to is not silent.
        mHeardAt = linkNowMs();
    }
    return mStopping ? "stopped" : mProblem;
}

/// How long the peer may be silent before something is done about it.
int cObjectClient::idleTimeoutMs(bool pinged) const
{
    return pinged ? mSettings.giveUpAfterMs : mSettings.pingAfterMs;
}

/// Nothing has come since @p heardAt: pings the peer once. Returns why the connection can't go on, or an
/// empty text. The caller holds mReading.
std::string cObjectClient::checkKeepalive(int64_t heardAt, bool* pinged)
{
    const int64_t nowMs = linkNowMs();
    if (mReader.overdue(nowMs)) {
        return "a message takes too long to arrive";
    }
    if (*pinged && nowMs - heardAt >= mSettings.giveUpAfterMs) {
        return "the server is silent";
    }
    if (!*pinged && nowMs - heardAt >= mSettings.pingAfterMs) {
        sendPing();
        *pinged = true;
    }
    return {};
}

int cObjectClient::processIo()
{
    // A listener that comes back here has its message delivered first.
    if (!mServing) {
        mServing = true;
        static_cast<void>(readSome(&mServed));
        mEventPump.deliverQueued();
        mServing = false;
    }
    const std::lock_guard<std::mutex> lock(mMutex);
    return mServed && mServed == mSocket && isReadable() ? mServed->fd() : -1;
}

/// Whether mSocket shall be read. The caller holds mMutex.
bool cObjectClient::isReadable() const { return mSocket && !isBroken() && !sendBacklogExceeded(); }

/// Whether mSocket can't go on and the receiving thread is about to drop it. The caller holds mMutex.
bool cObjectClient::isBroken() const { return !mProblem.empty(); }

/// Reads once what has come, without waiting, where there is a connection to be read: then *@p socket is
/// that. True when something has come.
bool cObjectClient::readSome(SocketPtr* socket)
{
    const std::lock_guard<std::mutex> reading(mReading);
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        *socket = isReadable() ? mSocket : nullptr;
    }
    if (!*socket || !mEventPump.hasRoom()) {
        return false;
    }
    size_t received = 0;
    const cLinkSocket::eOutcome outcome =
        (*socket)->receive(mReceiveBuffer.data(), mReceiveBuffer.size(), &received);
    std::string problem;
    if (outcome == cLinkSocket::DONE) {
        problem = handleBytes(mReceiveBuffer.data(), received);
        mHeardAt = linkNowMs();
    } else if (outcome == cLinkSocket::CLOSED) {
        problem = kClosed;
    }
    if (!problem.empty()) {
        const std::lock_guard<std::mutex> lock(mMutex);
        mProblem = std::move(problem);
        mReceiveChanged.notify_all();
    }
    return outcome == cLinkSocket::DONE;
}

/// Reads what the host leaves unread, as far as there is room for it.
void cObjectClient::readForHost()
{
    SocketPtr socket;
    bool read = false;
    while (readSome(&socket)) {
        read = true;
    }
    if (read) {
        callHost();
    }
}

void cObjectClient::callHost()
{
    if (mHost != nullptr) {
        mHost->requestProcessing();
    }
}

/// Waits while the peer leaves too many answers unread; a connection that breaks has none left. False when
/// the client stops.
bool cObjectClient::waitForReader()
{
    std::unique_lock<std::mutex> lock(mMutex);
    if (sendBacklogExceeded()) {
        mReceiveChanged.wait(lock, [this] { return mStopping || !sendBacklogExceeded(); });
        // Whoever was not listened to has not been silent.
        mHeardAt = linkNowMs();
    }
    return !mStopping;
}

/// The caller holds mMutex.
bool cObjectClient::sendBacklogExceeded() const
{
    return mOutQueue.connectionBytes() > mSettings.answerBytes;
}

/// Lets no further message be answered while answers pile up. The caller holds mMutex.
void cObjectClient::adjustPump()
{
    const bool hold = sendBacklogExceeded();
    mEventPump.hold(hold);
    if (std::exchange(mHolding, hold) && !hold) {
        callHost();
    }
}

/// Returns why the connection can't go on, or an empty text. The caller holds mReading.
std::string cObjectClient::handleBytes(const uint8_t* data, size_t size)
{
    for (;;) {
        const WMsgReader::eResult result = mReader.read(&data, &size, linkNowMs(), &mReceived);
        if (result == WMsgReader::BROKEN) {
            return "received bytes make no sense: " + mReader.status().text();
        }
        if (result == WMsgReader::MORE) {
            return {};
        }
        mPause.reset();
        if (!handleMessage(mReceived)) {
            return "stopped";
        }
    }
}

/// False when the client stops. The caller holds mReading.
bool cObjectClient::handleMessage(const WMsg& message)
{
    if (message.control) {
        if (!message.answer && message.type == wmsg::kControlPing) {
            answerPing();
        }
        return true;
    }
    if (message.answer) {
        handleAnswer(message);
        return true;
    }
    std::unique_ptr<cObjectList> list = mEventPump.spareList();
    const WStatus status = list->decode(message);
    if (!status.isOk()) {
        warn(logText("A message of type %u was not understood: %s", message.type, status.text().c_str()));
        return true;
    }
    const size_t bytes = message.payload.size() + wmsg::kHeaderSize;
    if (bytes > WMsgReader::kMaxDoubled) {
        // A large message need not exist twice.
        mReceived = WMsg();
    }
    if (mHost == nullptr) {
        return mEventPump.push(std::move(list), bytes, mConnection);
    }
    mEventPump.add(std::move(list), bytes, mConnection);
    return true;
}

void cObjectClient::handleAnswer(const WMsg& message)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    cMsgReg* waiting = mRegistry.answered(message.seq);
    if (waiting == nullptr) {
        ++mUnmatched;
        return;
    }
    waiting->status = waiting->answer->decode(message).isOk() ? MSG_OK : MSG_ERROR;
    waiting->complete = true;
    mReceiveChanged.notify_all();
}

int cObjectClient::nextPause()
{
    const std::lock_guard<std::mutex> reading(mReading);
    return mPause.next();
}

void cObjectClient::pause(const std::string& problem)
{
    const int pauseMs = nextPause();
    warn(logText("No link to %s port %u: %s; next attempt in %.1f s", mAddress.c_str(), mPort,
                 problem.c_str(), pauseMs / 1000.0));
    std::unique_lock<std::mutex> lock(mMutex);
    mReceiveChanged.wait_for(lock, std::chrono::milliseconds(pauseMs), [this] { return mStopping; });
}

void cObjectClient::sendLoop()
{
    cOutQueue::Entry entry;
    SocketPtr socket;
    while (takeNext(&entry, &socket)) {
        const bool sent = transmit(entry, *socket);
        const std::lock_guard<std::mutex> lock(mMutex);
        mTransmitting = false;
        if (!sent) {
            socket->shutDown();
            if (mSocket == socket) {
                linkBroken(&entry);
            } else {
                giveBack(&entry);
            }
        }
        mReceiveChanged.notify_all();
        socket.reset();
    }
}

/// Waits for a connection and something to send on it. False when the client stops.
bool cObjectClient::takeNext(cOutQueue::Entry* entry, SocketPtr* socket)
{
    std::unique_lock<std::mutex> lock(mMutex);
    mTransmitChanged.wait(lock, [this] {
        return mStopping ||
               (mSocket && !isBroken() && (mBegun || mPingsUnanswered > 0 || !mOutQueue.empty()));
    });
    if (mStopping) {
        return false;
    }
    *socket = mSocket;
    mTransmitting = true;
    if (mBegun) {
        *entry = std::move(*mBegun);
        mBegun.reset();
        return true;
    }
    if (mPingsUnanswered > 0) {
        --mPingsUnanswered;
        *entry = cOutQueue::Entry();
        entry->message = WMsg::ping(true);
        entry->connection = mConnection;
        return true;
    }
    mOutQueue.pop(entry);
    adjustPump();
    giveNumber(entry);
    return true;
}

void cObjectClient::giveNumber(cOutQueue::Entry* entry)
{
    if (entry->numbered) {
        return;
    }
    do {
        ++mCurrMsgSeq;
    } while (mRegistry.isTaken(mCurrMsgSeq));
    entry->message.seq = mCurrMsgSeq;
    entry->numbered = true;
    if (entry->request != nullptr) {
        ++entry->request->transmitted;
        mRegistry.add(mCurrMsgSeq, entry->request);
    }
}

bool cObjectClient::transmit(const cOutQueue::Entry& entry, cLinkSocket& socket)
{
    // Every segment but the last one is full.
    size_t done = entry.sentBytes % wmsg::kMaxSegmentSize;
    const size_t segments = entry.message.segmentCount();
    for (size_t segment = entry.sentBytes / wmsg::kMaxSegmentSize; segment < segments; ++segment) {
        const size_t size = entry.message.segmentMessage(segment, mTransmitBuffer.data());
        if (socket.sendAll(mTransmitBuffer.data() + done, size - done, mSettings.giveUpAfterMs) !=
            cLinkSocket::DONE) {
            return false;
        }
        done = 0;
    }
    return true;
}

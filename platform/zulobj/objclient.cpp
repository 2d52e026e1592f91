#include "zulobj/objclient.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <utility>

#include "zulobj/linkclock.h"

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
    mEventPump.start();

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
    cOutQueue::Entry entry;
    const WStatus status = list->encode(&entry.message);
    if (!status.isOk()) {
        error(("Not sent: " + status.text()).c_str());
        return;
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
    queue(std::move(entry));
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
    mOutQueue.push(std::move(entry));
    mTransmitChanged.notify_all();
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

void cObjectClient::queue(cOutQueue::Entry entry)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    const bool dead = entry.connection != cOutQueue::kAnyConnection &&
                      (entry.connection != mConnection || mSocket == nullptr || mBroken);
    if (!mStarted || dead) {
        return;
    }
    mOutQueue.push(std::move(entry));
    adjustPump();
    mTransmitChanged.notify_one();
}

void cObjectClient::queuePing()
{
    cOutQueue::Entry entry;
    entry.message = WMsg::ping(false);
    entry.connection = mConnection;
    entry.numbered = true;
    queue(std::move(entry));
}

void cObjectClient::answerPing()
{
    const std::lock_guard<std::mutex> lock(mMutex);
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
            problem = runConnection(*socket);
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
        const std::lock_guard<std::mutex> lock(mMutex);
        mSocket = socket;
        mBroken = false;
        ++mConnection;
        if (mStopping) {
            // stop() came between the attempt and now, and had no connection to shut down.
            socket->shutDown();
        }
    }
    reportFirstAttempt(true);
    mTransmitChanged.notify_all();
}

void cObjectClient::connectionDown()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mSocket->shutDown();
    mSocket.reset();
    mPingsUnanswered = 0;
    mOutQueue.dropOthers(cOutQueue::kAnyConnection);
    adjustPump();
    mRegistry.failAll(MSG_ERROR);
    mReceiveChanged.notify_all();
}

std::string cObjectClient::runConnection(cLinkSocket& socket)
{
    WMsgReader reader;
    int64_t heardAt = linkNowMs();
    bool pinged = false;
    while (waitForReader(&heardAt)) {
        // A listener may have taken its time: what has come meanwhile is read before silence is judged.
        const int patienceMs = pinged ? mSettings.giveUpAfterMs : mSettings.pingAfterMs;
        const int64_t wait = std::max<int64_t>(heardAt + patienceMs - linkNowMs(), 0);
        size_t received = 0;
        const cLinkSocket::eOutcome outcome = socket.receive(mReceiveBuffer.data(), mReceiveBuffer.size(),
                                                             static_cast<int>(wait), mWakeup.fd(), &received);
        if (outcome == cLinkSocket::CLOSED) {
            return "the connection was closed";
        }
        if (outcome == cLinkSocket::NOTHING) {
            const int64_t nowMs = linkNowMs();
            if (reader.overdue(nowMs)) {
                return "a message takes too long to arrive";
            }
            if (pinged && nowMs - heardAt >= mSettings.giveUpAfterMs) {
                return "the server is silent";
            }
            if (!pinged && nowMs - heardAt >= mSettings.pingAfterMs) {
                queuePing();
                pinged = true;
            }
            continue;
        }
        std::string problem = handleBytes(mReceiveBuffer.data(), received, &reader);
        if (!problem.empty()) {
            return problem;
        }
        heardAt = linkNowMs();
        pinged = false;
    }
    return "stopped";
}

/// Waits while the peer leaves too many answers unread; a connection that breaks has none left. False when
/// the client stops.
bool cObjectClient::waitForReader(int64_t* heardAt)
{
    std::unique_lock<std::mutex> lock(mMutex);
    if (answersPileUp()) {
        mReceiveChanged.wait(lock, [this] { return mStopping || !answersPileUp(); });
        // Whoever was not listened to has not been silent.
        *heardAt = linkNowMs();
    }
    return !mStopping;
}

/// The caller holds mMutex.
bool cObjectClient::answersPileUp() const { return mOutQueue.connectionBytes() > mSettings.answerBytes; }

/// Lets no further message be answered while answers pile up. The caller holds mMutex.
void cObjectClient::adjustPump() { mEventPump.hold(answersPileUp()); }

/// Returns why the connection can't go on, or an empty text.
std::string cObjectClient::handleBytes(const uint8_t* data, size_t size, WMsgReader* reader)
{
    WMsg message;
    for (;;) {
        const WMsgReader::eResult result = reader->read(&data, &size, linkNowMs(), &message);
        if (result == WMsgReader::BROKEN) {
            return "received bytes make no sense: " + reader->status().text();
        }
        if (result == WMsgReader::MORE) {
            return {};
        }
        mPause.reset();
        const size_t bytes = message.payload.size() + wmsg::kHeaderSize;
        if (!handleMessage(std::move(message), bytes)) {
            return "stopped";
        }
    }
}

/// False when the client stops.
bool cObjectClient::handleMessage(WMsg&& message, size_t bytes)
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
    auto list = std::make_unique<cObjectList>();
    const WStatus status = list->decode(message);
    if (!status.isOk()) {
        warn(logText("A message of type %u was not understood: %s", message.type, status.text().c_str()));
        return true;
    }
    message = WMsg();
    return mEventPump.push(std::move(list), bytes, mConnection);
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

void cObjectClient::pause(const std::string& problem)
{
    const int pauseMs = mPause.next();
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
        const bool sent = transmit(entry.message, *socket);
        const std::lock_guard<std::mutex> lock(mMutex);
        if (!sent) {
            socket->shutDown();
            // Only whole messages count for the peer, so what was cut off goes out again in full.
            if (entry.connection == cOutQueue::kAnyConnection && entry.request == nullptr) {
                mOutQueue.pushFront(std::move(entry));
            }
            if (mSocket == socket) {
                mBroken = true;
                mOutQueue.dropOthers(cOutQueue::kAnyConnection);
                adjustPump();
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
        return mStopping || (mSocket && !mBroken && (mPingsUnanswered > 0 || !mOutQueue.empty()));
    });
    if (mStopping) {
        return false;
    }
    *socket = mSocket;
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

bool cObjectClient::transmit(const WMsg& message, cLinkSocket& socket)
{
    const size_t segments = message.segmentCount();
    for (size_t segment = 0; segment < segments; ++segment) {
        const size_t size = message.segmentMessage(segment, mTransmitBuffer.data());
        if (socket.sendAll(mTransmitBuffer.data(), size, mSettings.giveUpAfterMs) != cLinkSocket::DONE) {
            return false;
        }
    }
    return true;
}

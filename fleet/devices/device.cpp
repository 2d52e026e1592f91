#include "fleet/devices/device.h"

#include <algorithm>
#include <chrono>
#include <netinet/in.h>
#include <sys/socket.h>
#include <utility>

#include "fleet/devices/steadytime.h"
#include "zullink/hostport.h"

using boost::asio::ip::tcp;
using boost::system::error_code;

namespace fleet {

namespace {

/// Records of more objects are not kept for the next message.
constexpr size_t kMaxKeptRecords = 1000;

/// A list of waiting messages with more room is given back once it is empty.
constexpr size_t kMaxKeptWaiting = 16;

LinkSession::Settings sessionSettings(const sLinkLimits& limits)
{
    return {limits, true, "the server is silent", "received bytes make no sense: "};
}

bool isEvent(eMessage message) { return message < eMessage::ANSWER; }

/// Ends the connection of @p fd at once: the peer sees a reset.
void resetConnection(int fd)
{
    sockaddr none{};
    none.sa_family = AF_UNSPEC;
    static_cast<void>(::connect(fd, &none, sizeof none));
}

} // namespace

Device::Device(const Description& description, Shared* shared, Owner* owner)
    : mIndex(description.index),
      mShared(*shared),
      mOwner(*owner),
      mPlain(
          description.counts, description.label.c_str(), description.version, description.serial,
          description.now, [this](cObjectList* list) { send(list); }, shared->trace),
      mSession(sessionSettings(shared->link), &mNumbers),
      mSocket(shared->io),
      mTimer(shared->io),
      mBackoff(shared->link.firstPauseMs, shared->link.longestPauseMs, description.pauseSeed)
{}

Device::~Device()
{
    if (mDriver) {
        mDriver->abandon();
    }
}

// The link.

void Device::connect(int64_t sinceUs)
{
    if (mPhase == ePhase::WAITING) {
        mPhase = ePhase::CONNECTING;
        mSinceUs = sinceUs;
        mAddress = 0;
        tryAddress();
    }
}

/// Each address gets an equal share of the time for an attempt.
void Device::tryAddress()
{
    const auto& addresses = mShared.target.addresses();
    wake(mShared.link.connectMs / static_cast<int64_t>(addresses.size()), &Device::endAttempt);
    error_code error;
    if (!prepareSocket(&error)) {
        boost::asio::post(mShared.io, [this, error, generation = mGeneration] {
            if (generation == mGeneration) {
                attemptEnded(error);
            }
        });
        return;
    }
    mSocket.async_connect(addresses[mAddress], [this, generation = mGeneration](const error_code& ended) {
        if (generation == mGeneration) {
            attemptEnded(ended);
        }
    });
}

bool Device::prepareSocket(error_code* error)
{
    const tcp::endpoint& server = mShared.target.addresses()[mAddress];
    mSocket.open(server.protocol(), *error);
    const auto source = mShared.target.nextSource(server);
    if (!*error && source) {
        // The port is chosen with the server's address in mind, so one port serves for several servers.
        const int on = 1;
        ::setsockopt(mSocket.native_handle(), IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT, &on, sizeof on);
        mSocket.bind({*source, 0}, *error);
    }
    return !*error;
}

/// An attempt that is not over in time.
void Device::endAttempt() { attemptEnded(boost::asio::error::timed_out); }

void Device::attemptEnded(const error_code& error)
{
    ++mGeneration;
    if (!error && !cLinkSocket::isSelfConnected(mSocket.native_handle())) {
        return established();
    }
    error_code ignored;
    mSocket.close(ignored);
    if (++mAddress < mShared.target.addresses().size()) {
        return tryAddress();
    }
    attemptFailed(error ? error.message() : error_code(boost::asio::error::connection_refused).message());
}

void Device::established()
{
    mTimer.cancel();
    mPhase = ePhase::UP;
    mIdentified = false;
    mReason.clear();
    mSince = std::chrono::system_clock::now();
    mFd = mSocket.native_handle();
    AsioDriver::Owner* const owner = this; // a private base
    mDriver = std::make_shared<AsioDriver>(std::move(mSocket), &mSession, owner);
    mOwner.connected(*this, mSinceUs);
    mDriver->start();
}

void Device::attemptFailed(const std::string& reason)
{
    mReason = reason;
    pause();
    mOwner.refused(*this, reason);
}

void Device::linkClosed(const std::string& reason)
{
    mDriver.reset();
    mFd = -1;
    std::erase_if(mWaiting, [](const Waiting& waiting) { return !isEvent(waiting.message); });
    mReason = reason;
    mSince = std::chrono::system_clock::now();
    if (mSession.hasReceived()) {
        mBackoff.reset();
    }
    if (mHolding) {
        mPhase = ePhase::OFF;
    } else {
        pause();
    }
    mOwner.lost(*this, reason);
    mIdentified = false;
}

void Device::pause()
{
    mPhase = ePhase::WAITING;
    wake(mBackoff.next(), &Device::endPause);
}

void Device::endPause()
{
    ++mGeneration;
    mOwner.readyToConnect(*this);
}

void Device::wake(int64_t afterMs, void (Device::*then)())
{
    ++mGeneration;
    mTimer.expires_after(std::chrono::milliseconds(afterMs));
    mTimer.async_wait([this, then, generation = mGeneration](const error_code& error) {
        if (!error && generation == mGeneration) {
            (this->*then)();
        }
    });
}

void Device::end(const std::string& reason, bool reset)
{
    if (reset && mFd >= 0) {
        resetConnection(mFd);
    }
    if (const std::shared_ptr<AsioDriver> driver = mDriver) {
        driver->close(reason);
    }
}

void Device::drop(const std::string& reason, bool reset) { end(reason, reset); }

void Device::hold(const std::string& reason, bool reset)
{
    mHolding = true;
    end(reason, reset);
    mHolding = false;
    ++mGeneration;
    mTimer.cancel();
    error_code ignored;
    mSocket.close(ignored);
    mPhase = ePhase::OFF;
    mReason = reason;
}

bool Device::finish()
{
    const bool isSent = mPhase == ePhase::OFF || mSession.waitingEvents() == 0;
    if (isSent && mDriver) {
        mHolding = true;
        mDriver->finish();
    }
    return isSent && !mDriver;
}

void Device::release()
{
    if (mPhase == ePhase::OFF) {
        pause();
    }
}

void Device::releaseNow()
{
    if (mPhase == ePhase::OFF) {
        mPhase = ePhase::WAITING;
        mOwner.readyToConnect(*this);
    }
}

sLinkState Device::linkState() const
{
    const tcp::endpoint& server = mShared.target.addresses().front();
    sLinkState state;
    state.state = mPhase == ePhase::UP    ? sLinkState::UP
                  : mPhase == ePhase::OFF ? sLinkState::OFF
                                          : sLinkState::DOWN;
    state.server = toText(sHostPort{server.address().to_string(), server.port()});
    state.reason = mReason;
    state.since = mSince;
    state.waiting = mSession.waitingEvents();
    state.dropped = mSession.droppedEvents();
    return state;
}

// Messages.

void Device::linkMessage(LinkSession::Received&& received)
{
    cObjectList& list = mShared.received;
    if (list.size() > kMaxKeptRecords) {
        list.deleteObjects();
    }
    if (received.message.answer || !list.decode(received.message).isOk()) {
        return;
    }
    mHandling = &received;
    mHandlingSinceUs = nowUs();
    const bool isSet = list.getMsgType() == cObjectList::kSet;
    if (isSet) {
        mOwner.setReceived(*this, list);
    }
    mPlain.handle(&list);
    mHandling = nullptr;
    if (isSet) {
        mOwner.setApplied(*this);
    }
}

/// Also of several records, of which it may be one.
bool Device::isOwnRecord(cObjectList* list) const
{
    for (const cObject* object = list->first(); object != nullptr; object = list->next()) {
        if (object == static_cast<const cObject*>(&mPlain)) {
            return true;
        }
    }
    return false;
}

void Device::send(cObjectList* list)
{
    WMsg message;
    if (!list->encode(&message).isOk()) {
        return;
    }
    const uint8_t type = list->getMsgType();
    if (mHandling != nullptr && type == mHandling->message.type && type != cObjectList::kEvent) {
        mWaiting.push_back({mHandlingSinceUs, isOwnRecord(list) ? eMessage::RECORD : eMessage::ANSWER});
        mSession.answer(mHandling->token, std::move(message));
        return;
    }
    mWaiting.push_back({mEventSinceUs, mEventKind});
    mSession.send(std::move(message));
    noteDropped();
}

/// The session drops the oldest event that it has not begun to write.
void Device::noteDropped()
{
    for (; mDropped < mSession.droppedEvents(); ++mDropped) {
        auto oldest = std::ranges::find_if(mWaiting, isEvent, &Waiting::message);
        if (mPhase == ePhase::UP && oldest != mWaiting.end() && oldest + 1 != mWaiting.end()) {
            oldest = std::find_if(oldest + 1, mWaiting.end(),
                                  [](const Waiting& waiting) { return isEvent(waiting.message); });
        }
        if (oldest != mWaiting.end()) {
            mOwner.dropped(oldest->message);
            mWaiting.erase(oldest);
        }
    }
}

void Device::flush()
{
    if (mDriver) {
        mDriver->flush();
    }
}

void Device::linkFlushed()
{
    const uint64_t written = mSession.writtenMessages();
    if (written == mWritten) {
        return;
    }
    const auto count = std::min<size_t>(static_cast<size_t>(written - mWritten), mWaiting.size());
    mWritten = written;
    const auto end = mWaiting.begin() + static_cast<std::ptrdiff_t>(count);
    bool isFirstRecord = false;
    for (auto waiting = mWaiting.begin(); waiting != end; ++waiting) {
        isFirstRecord = isFirstRecord || (waiting->message == eMessage::RECORD && !mIdentified);
        mOwner.written(waiting->message, waiting->sinceUs);
    }
    mWaiting.erase(mWaiting.begin(), end);
    if (mWaiting.empty() && mWaiting.capacity() > kMaxKeptWaiting) {
        mWaiting = {};
    }
    if (isFirstRecord) {
        mIdentified = true;
        mOwner.identified(*this, mSinceUs);
    }
}

} // namespace fleet

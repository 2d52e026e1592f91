#include "server/sessions/devicesession.h"

#include <chrono>
#include <utility>

#include "zulobj/objectlist.h"

namespace server {

namespace {

const cObjectDevice* deviceIn(cObjectList* list)
{
    for (cObject* object = list->first(); object != nullptr; object = list->next()) {
        if (const auto* device = dynamic_cast<const cObjectDevice*>(object)) {
            return device;
        }
    }
    return nullptr;
}

} // namespace

DeviceSession::DeviceSession(boost::asio::ip::tcp::socket socket, const LinkSettings& settings,
                             Listener* listener, uint8_t* lastNumber)
    : mSettings(settings),
      mListener(listener),
      mAskTimer(socket.get_executor()),
      mIdentifyTimer(socket.get_executor()),
      mConnection(
          std::make_shared<Connection>(std::move(socket), settings, static_cast<Connection::Owner*>(this))),
      mRequests(lastNumber)
{}

DeviceSession::~DeviceSession() { mConnection->abandon(); }

void DeviceSession::start()
{
    mIdentifyTimer.expires_after(std::chrono::milliseconds(mSettings.identifyMs));
    mIdentifyTimer.async_wait([weak = weak_from_this()](const boost::system::error_code& error) {
        const std::shared_ptr<DeviceSession> self = weak.lock();
        if (!error && self && !self->mDevice) {
            self->mConnection->close("it does not say which device it is");
        }
    });
    mConnection->start();
    askForDevice();
}

std::optional<uint8_t> DeviceSession::request(WMsg message, PendingRequests::Handler handler)
{
    const std::optional<uint8_t> seq = mRequests.number(std::move(handler));
    if (seq) {
        message.seq = *seq;
        mConnection->send(message);
    }
    return seq;
}

bool DeviceSession::send(WMsg message)
{
    const bool answered = message.type == cObjectList::kSet || message.type == cObjectList::kRequest;
    const std::optional<uint8_t> seq = answered ? mRequests.numberUnwanted() : mRequests.number();
    if (seq) {
        message.seq = *seq;
        mConnection->send(message);
    }
    return seq.has_value();
}

void DeviceSession::askForDevice()
{
    ++mAsked;
    cObjectDevice any;
    any.setDeviceSerial(cObject::kWildcard);
    cObjectList list;
    list.setMsgType(cObjectList::kRequest);
    list.addBorrowed(&any);
    WMsg message;
    const WStatus status = list.encode(&message);
    if (!status.isOk()) {
        mListener->sessionReport(*this, "The device was not asked who it is: " + status.text() + ".");
        return;
    }
    request(std::move(message), [this](const WMsg* answer) {
        if (answer != nullptr) {
            takeDevice(*answer);
        }
    });
}

void DeviceSession::takeDevice(const WMsg& answer)
{
    cObjectList list;
    const WStatus status = list.decode(answer);
    if (!status.isOk()) {
        mListener->sessionReport(*this, "The device record was not understood: " + status.text() + ".");
    }
    const cObjectDevice* device = deviceIn(&list);
    if (device == nullptr || !status.isOk()) {
        askAgain();
        return;
    }
    mDevice = *device;
    mIdentifyTimer.cancel();
    mListener->sessionIdentified(*this);
    std::deque<WMsg> held;
    std::swap(held, mHeld);
    for (WMsg& message : held) {
        mListener->sessionMessage(*this, std::move(message));
    }
}

void DeviceSession::askAgain()
{
    if (mAsked == mSettings.askAttempts) {
        mConnection->close("it does not say which device it is");
        return;
    }
    mAskTimer.expires_after(std::chrono::milliseconds(mSettings.askAgainMs));
    mAskTimer.async_wait([weak = weak_from_this()](const boost::system::error_code& error) {
        const std::shared_ptr<DeviceSession> self = weak.lock();
        if (!error && self && !self->mClosed) {
            self->askForDevice();
        }
    });
}

void DeviceSession::connectionMessage(WMsg&& message)
{
    if (message.answer) {
        if (!mRequests.answer(message)) {
            mListener->sessionDebug(*this, "An answer was dropped as nobody waits for it, number " +
                                               std::to_string(mRequests.dropped()) + " of this connection.");
        }
    } else if (mDevice) {
        mListener->sessionMessage(*this, std::move(message));
    } else {
        hold(std::move(message));
    }
}

void DeviceSession::hold(WMsg&& message)
{
    mHeldBytes += message.payload.size() + mSettings.heldMessageOverhead;
    if (mHeldBytes > mSettings.heldBytes) {
        mConnection->close("it sends too much before it says which device it is");
        return;
    }
    message.payload.shrink_to_fit();
    mHeld.push_back(std::move(message));
}

void DeviceSession::connectionClosed(const std::string& reason)
{
    mClosed = true;
    mAskTimer.cancel();
    mIdentifyTimer.cancel();
    mListener->sessionClosed(*this, reason);
    mRequests.failAll();
}

} // namespace server

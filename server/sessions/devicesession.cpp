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
                             Listener* listener, LinkNumbers* numbers, uint64_t number)
    : mSettings(settings),
      mListener(listener),
      mNumber(number),
      mAskTimer(socket.get_executor()),
      mIdentifyTimer(socket.get_executor())
{
    mDriver = std::make_shared<AsioDriver>(std::move(socket), settings.link, numbers, settings.capture,
                                           static_cast<AsioDriver::Owner*>(this));
}

DeviceSession::~DeviceSession() { mDriver->abandon(); }

void DeviceSession::start()
{
    after(&mIdentifyTimer, mSettings.identifyMs, &DeviceSession::closeAsUnknown);
    mDriver->start();
    askForDevice();
}

/// Calls @p then unless the device says first who it is, or the connection ends.
void DeviceSession::after(LinkTimer* timer, int ms, void (DeviceSession::*then)())
{
    timer->expires_after(std::chrono::milliseconds(ms));
    timer->async_wait([weak = weak_from_this(), then](const boost::system::error_code& error) {
        const std::shared_ptr<DeviceSession> self = weak.lock();
        // A cancelled wait may have been on its way already.
        if (!error && self && !self->mDevice && !self->mClosed) {
            (self.get()->*then)();
        }
    });
}

uint64_t DeviceSession::request(WMsg message, LinkSession::AnswerHandler handler, eOrigin origin)
{
    const char* type = SessionCounts::typeOf(message);
    if (mSettings.counts) {
        handler = counted(std::move(handler), origin);
    }
    const uint64_t request = mDriver->session().request(std::move(message), std::move(handler));
    if (mSettings.counts) {
        mSettings.counts->addSent(type, request == 0 ? "refused" : "ok");
    }
    mDriver->flush();
    return request;
}

/// Counts the answer and its time, and then calls @p handler, which may be null.
LinkSession::AnswerHandler DeviceSession::counted(LinkSession::AnswerHandler handler, eOrigin origin) const
{
    using Clock = std::chrono::steady_clock;
    return [counts = mSettings.counts, handler = std::move(handler), origin,
            begun = Clock::now()](const WMsg* answer) {
        if (answer != nullptr) {
            counts->addReceived("answer", "ok");
            (origin == eOrigin::COMMAND ? counts->commandRequests : counts->serverRequests)
                .add(Clock::now() - begun);
        } else {
            counts->addReceived("answer", "missing");
        }
        if (handler) {
            handler(answer);
        }
    };
}

bool DeviceSession::send(WMsg message)
{
    if (message.type == cObjectList::kSet || message.type == cObjectList::kRequest) {
        return request(std::move(message), nullptr) != 0;
    }
    if (mSettings.counts) {
        mSettings.counts->addSent(SessionCounts::typeOf(message), "ok");
    }
    mDriver->session().send(std::move(message));
    mDriver->flush();
    return true;
}

void DeviceSession::askForDevice()
{
    ++mAsked;
    cObjectDevice any;
    any.setDeviceSerial(cObject::kWildcard);
    WMsg message;
    message.type = cObjectList::kRequest;
    message.payload.resize(any.encodedSize());
    any.encode(message.payload.data());
    const auto take = [this](const WMsg* answer) {
        if (answer != nullptr) {
            takeDevice(*answer);
        }
    };
    request(std::move(message), take, eOrigin::SERVER);
}

void DeviceSession::takeDevice(const WMsg& answer)
{
    cObjectList list;
    const WStatus status = list.decode(answer);
    if (!status.isOk()) {
        mListener->sessionReport(*this, "The device record was not understood: " + status.text() + ".");
    }
    const cObjectDevice* device = status.isOk() ? deviceIn(&list) : nullptr;
    if (device != nullptr) {
        identified(*device);
    } else if (mAsked == mSettings.askAttempts) {
        closeAsUnknown();
    } else {
        after(&mAskTimer, mSettings.askAgainMs, &DeviceSession::askForDevice);
    }
}

void DeviceSession::identified(const cObjectDevice& device)
{
    mDevice = device;
    mIdentifyTimer.cancel();
    mListener->sessionIdentified(*this);
    for (WMsg& message : std::exchange(mHeld, {})) {
        mListener->sessionMessage(*this, std::move(message));
    }
}

void DeviceSession::linkMessage(LinkSession::Received&& received)
{
    if (received.message.answer) {
        if (mSettings.counts) {
            mSettings.counts->addReceived("answer", "dropped");
        }
        mListener->sessionDebug(*this, "An answer was dropped as nobody waits for it, number " +
                                           std::to_string(mDriver->session().unmatchedAnswers()) +
                                           " of this connection.");
    } else if (mDevice) {
        mListener->sessionMessage(*this, std::move(received.message));
    } else {
        hold(std::move(received.message));
    }
}

void DeviceSession::hold(WMsg&& message)
{
    mHeldBytes += message.payload.size() + mSettings.heldMessageOverhead;
    if (mHeldBytes > mSettings.heldBytes) {
        mDriver->close("it sends too much before it says which device it is");
        return;
    }
    message.payload.shrink_to_fit();
    mHeld.push_back(std::move(message));
}

void DeviceSession::linkClosed(const std::string& reason)
{
    mClosed = true;
    mAskTimer.cancel();
    mIdentifyTimer.cancel();
    mListener->sessionClosed(*this, reason);
}

} // namespace server

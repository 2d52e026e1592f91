#include "server/sessions/devicesessions.h"

#include "server/io/jsonline.h"
#include <algorithm>
#include <boost/asio/post.hpp>
#include <utility>

namespace server {

namespace {

bool isMeant(const std::optional<cObjectDevice>& device, std::optional<uint32_t> serial)
{
    return !serial || (device && *serial == device->getDeviceSerial());
}

} // namespace

void DeviceSessions::add(boost::asio::ip::tcp::socket socket)
{
    auto session = std::make_shared<DeviceSession>(std::move(socket), mSettings,
                                                   static_cast<DeviceSession::Listener*>(this), &mNumbers);
    mSessions.push_back(session);
    mConsole.line(connectedLine(session->peer()));
    session->start();
}

std::vector<DeviceSessions::SessionPtr> DeviceSessions::matching(std::optional<uint32_t> serial) const
{
    std::vector<SessionPtr> found;
    std::ranges::copy_if(mSessions, std::back_inserter(found), [serial](const SessionPtr& session) {
        return session->device() && isMeant(session->device(), serial);
    });
    return found;
}

std::optional<DeviceSessions::Ended> DeviceSessions::takeEnded(std::optional<uint32_t> serial)
{
    const auto found =
        std::ranges::find_if(mEnded, [serial](const Ended& device) { return isMeant(device, serial); });
    if (found == mEnded.end()) {
        return std::nullopt;
    }
    const Ended device = std::move(*found);
    mEnded.erase(found);
    return device;
}

void DeviceSessions::forget()
{
    mLog.clear();
    mEnded.clear();
}

void DeviceSessions::resumeReading()
{
    // Reading may close a session and so change the list.
    const std::vector<SessionPtr> sessions = mSessions;
    for (const SessionPtr& session : sessions) {
        session->resumeReading();
    }
}

void DeviceSessions::sessionIdentified(DeviceSession& session)
{
    mConsole.line(deviceLine(session.peer(), *session.device()));
    onChange();
}

void DeviceSessions::sessionMessage(DeviceSession& session, WMsg&& message)
{
    cObjectList list;
    const WStatus status = list.decode(message);
    if (!status.isOk()) {
        sessionReport(session, "A message of type " + std::to_string(message.type) +
                                   " was not understood: " + status.text() + ".");
        return;
    }
    const uint32_t serial = session.device()->getDeviceSerial();
    mConsole.line(messageLine(serial, list));
    mLog.add(serial, std::move(message));
    onChange();
}

void DeviceSessions::sessionClosed(DeviceSession& session, const std::string& reason)
{
    const auto found = std::ranges::find(mSessions, &session, &SessionPtr::get);
    // Functions of the session are on the stack, so it is destroyed later.
    boost::asio::post(mIo, [ended = std::move(*found)] {});
    mSessions.erase(found);
    const Ended& device = mEnded.emplace_back(session.device());
    mConsole.line(disconnectedLine(session.peer(), device ? &*device : nullptr, reason));
    if (mEnded.size() > kMaxEnded) {
        mEnded.pop_front();
    }
    onChange();
}

} // namespace server

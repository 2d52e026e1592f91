#include "server/sessions/devicesessions.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <utility>

namespace server {

DeviceSessions::DeviceSessions(boost::asio::io_context& io, Console& console, MessageLog& log,
                               const LinkSettings& settings)
    : mIo(io), mConsole(console), mLog(log), mSettings(settings)
{}

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
    std::copy_if(mSessions.begin(), mSessions.end(), std::back_inserter(found),
                 [serial](const SessionPtr& session) {
                     const cObjectDevice* device = session->device();
                     return device != nullptr && (!serial || *serial == device->getDeviceSerial());
                 });
    return found;
}

DeviceSessions::SessionPtr DeviceSessions::pick(std::optional<uint32_t> serial, std::string* problem) const
{
    const std::vector<SessionPtr> found = matching(serial);
    if (found.size() == 1) {
        return found.front();
    }
    const std::string withSerial = serial ? " with the serial " + std::to_string(*serial) : "";
    if (found.empty()) {
        *problem = "No device" + withSerial + " is connected.";
    } else if (serial) {
        *problem = "Several devices" + withSerial + " are connected.";
    } else {
        *problem = "Several devices are connected: pick one with device=SERIAL.";
    }
    return nullptr;
}

DeviceSessions::SessionPtr DeviceSessions::first(std::optional<uint32_t> serial) const
{
    const std::vector<SessionPtr> found = matching(serial);
    return found.empty() ? nullptr : found.front();
}

std::optional<DeviceSessions::Ended> DeviceSessions::takeEnded(std::optional<uint32_t> serial)
{
    const auto found = std::find_if(mEnded.begin(), mEnded.end(), [serial](const Ended& device) {
        return !serial || (device && *serial == device->getDeviceSerial());
    });
    if (found == mEnded.end()) {
        return std::nullopt;
    }
    const Ended device = std::move(*found);
    mEnded.erase(found);
    return device;
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
    ++mMessages;
    mLog.add(serial, std::move(message));
    onChange();
}

void DeviceSessions::sessionClosed(DeviceSession& session, const std::string& reason)
{
    const auto found = std::find_if(mSessions.begin(), mSessions.end(),
                                    [&session](const SessionPtr& other) { return other.get() == &session; });
    // Functions of the session are on the stack, so it is destroyed later.
    boost::asio::post(mIo, [ended = std::move(*found)] {});
    mSessions.erase(found);
    Ended device;
    std::optional<uint32_t> serial;
    if (session.device() != nullptr) {
        device = *session.device();
        serial = device->getDeviceSerial();
    }
    mConsole.line(disconnectedLine(session.peer(), serial, reason));
    mEnded.push_back(std::move(device));
    if (mEnded.size() > kMaxEnded) {
        mEnded.pop_front();
    }
    onChange();
}

void DeviceSessions::sessionReport(const DeviceSession& session, const std::string& sentence)
{
    mConsole.report(session.peer() + ": " + sentence);
}

void DeviceSessions::sessionDebug(const DeviceSession& session, const std::string& sentence)
{
    mConsole.debug(session.peer() + ": " + sentence);
}

} // namespace server

#include "server/sessions/devicesessions.h"

#include "server/io/jsonline.h"
#include <algorithm>
#include <boost/asio/post.hpp>
#include <utility>

namespace server {

namespace {

bool isMeant(const DeviceSessions::Ended& ended, const DeviceSessions::Filter& filter)
{
    const auto& [id, peer, device] = ended;
    return (!filter.peer || *filter.peer == peer) &&
           (!filter.deviceSerial || (device && *filter.deviceSerial == device->getDeviceSerial()));
}

} // namespace

void DeviceSessions::add(boost::asio::ip::tcp::socket socket)
{
    auto session = std::make_shared<DeviceSession>(
        std::move(socket), mSettings, static_cast<DeviceSession::Listener*>(this), &mNumbers, ++mConnections);
    mSessions.emplace(session.get(), session);
    mConnects.add(linkNowMs());
    mConsole.line(connectedLine(session->peer()));
    session->start();
}

DeviceSessions::Counts DeviceSessions::counts()
{
    const int64_t nowMs = linkNowMs();
    return {mSessions.size(), mIndex.size(), mConnects.perSecond(nowMs), mMessages.perSecond(nowMs)};
}

std::optional<DeviceSessions::Ended> DeviceSessions::takeEnded(const Filter& filter, uint64_t since)
{
    const auto begin = std::ranges::lower_bound(mEnded, since, {}, &Ended::id);
    const auto found =
        std::find_if(begin, mEnded.end(), [&filter](const Ended& ended) { return isMeant(ended, filter); });
    if (found == mEnded.end()) {
        return std::nullopt;
    }
    Ended ended = std::move(*found);
    mEnded.erase(found);
    return ended;
}

void DeviceSessions::forget()
{
    mLog.clear();
    mEnded.clear();
}

void DeviceSessions::resumeReading()
{
    // Reading may close a session and so change the map.
    std::vector<SessionPtr> sessions;
    sessions.reserve(mSessions.size());
    for (const auto& each : mSessions) {
        sessions.push_back(each.second);
    }
    for (const SessionPtr& session : sessions) {
        session->resumeReading();
    }
}

void DeviceSessions::sessionIdentified(DeviceSession& session)
{
    mIndex.add(&session);
    mConsole.line(deviceLine(session.peer(), *session.device()));
    onChange();
}

void DeviceSessions::sessionMessage(DeviceSession& session, WMsg&& message)
{
    cObjectList list;
    const WStatus status = list.decode(message);
    if (mSettings.counts) {
        mSettings.counts->addReceived(SessionCounts::typeOf(message), status.isOk() ? "ok" : "refused");
    }
    if (!status.isOk()) {
        sessionReport(session, "A message of type " + std::to_string(message.type) +
                                   " was not understood: " + status.text() + ".");
        return;
    }
    const uint32_t serial = session.device()->getDeviceSerial();
    mMessages.add(linkNowMs());
    if (mConsole.shows("message")) {
        mConsole.line(messageLine(serial, list));
    }
    mLog.add(serial, std::move(message), session.peer());
    onChange();
}

void DeviceSessions::sessionClosed(DeviceSession& session, const std::string& reason)
{
    mIndex.remove(&session);
    // Functions of the session are on the stack, so it is destroyed later.
    boost::asio::post(mIo, [ended = mSessions.extract(&session)] {});
    const std::optional<cObjectDevice>& device = session.device();
    if (mSettings.counts) {
        mSettings.counts->addDisconnect(reason);
    }
    mEnded.push_back({mEndedCount++, session.peer(), device});
    mConsole.line(disconnectedLine(session.peer(), device ? &*device : nullptr, reason));
    if (mEnded.size() > kMaxEnded) {
        mEnded.pop_front();
    }
    onChange();
}

} // namespace server

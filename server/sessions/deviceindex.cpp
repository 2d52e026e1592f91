#include "server/sessions/deviceindex.h"

#include <algorithm>

namespace server {

namespace {

template <class Map>
void removeFrom(Map* map, const typename Map::key_type& key, const DeviceSession* session)
{
    const auto [begin, end] = map->equal_range(key);
    const auto found =
        std::find_if(begin, end, [session](const auto& each) { return each.second == session; });
    if (found != end) {
        map->erase(found);
    }
}

} // namespace

void DeviceIndex::add(DeviceSession* session)
{
    mInOrder.emplace(session->number(), session);
    mBySerial.emplace(session->device()->getDeviceSerial(), session);
    mByPeer.emplace(session->peer(), session);
}

void DeviceIndex::remove(DeviceSession* session)
{
    if (mInOrder.erase(session->number()) > 0) {
        removeFrom(&mBySerial, session->device()->getDeviceSerial(), session);
        removeFrom(&mByPeer, session->peer(), session);
    }
}

/// The sessions with the peer or the serial of @p filter, of which it has one.
DeviceIndex::Sessions DeviceIndex::named(const zulcommand::MessageLog::Filter& filter) const
{
    Sessions sessions;
    const auto append = [&sessions](const auto& range) {
        for (auto each = range.first; each != range.second; ++each) {
            sessions.push_back(each->second);
        }
    };
    if (filter.peer) {
        append(mByPeer.equal_range(*filter.peer));
    } else {
        append(mBySerial.equal_range(*filter.deviceSerial));
    }
    std::erase_if(sessions, [&filter](const DeviceSession* session) {
        return filter.deviceSerial && *filter.deviceSerial != session->device()->getDeviceSerial();
    });
    std::ranges::sort(sessions, {}, &DeviceSession::number);
    return sessions;
}

std::vector<DeviceIndex::SessionPtr> DeviceIndex::find(const zulcommand::MessageLog::Filter& filter,
                                                       size_t max) const
{
    std::vector<SessionPtr> found;
    const auto take = [&found, max](DeviceSession* session) {
        found.push_back(session->shared_from_this());
        return found.size() < max;
    };
    if (filter.peer || filter.deviceSerial) {
        const Sessions sessions = named(filter);
        static_cast<void>(std::ranges::all_of(sessions, take));
    } else {
        static_cast<void>(std::ranges::all_of(mInOrder, take, [](const auto& each) { return each.second; }));
    }
    return found;
}

} // namespace server

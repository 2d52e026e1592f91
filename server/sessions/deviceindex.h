#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "server/sessions/devicesession.h"
#include "zulcommand/messagelog.h"

namespace server {

/// Finds the sessions of devices that have said who they are by what commands name these by.
///
/// However many there are, a serial or a peer is found by its hash.
class DeviceIndex
{
public:
    using SessionPtr = std::shared_ptr<DeviceSession>;

    /// Borrows @p session, which has its device record, until remove().
    void add(DeviceSession* session);

    /// No effect if @p session was not added.
    void remove(DeviceSession* session);

    /// The sessions that the serial and the peer of @p filter allow, in the order of connecting, at most
    /// @p max.
    std::vector<SessionPtr> find(const zulcommand::MessageLog::Filter& filter, size_t max) const;

    size_t size() const { return mInOrder.size(); }

private:
    using Sessions = std::vector<DeviceSession*>;

    Sessions named(const zulcommand::MessageLog::Filter& filter) const;

    std::map<uint64_t, DeviceSession*> mInOrder;                       ///< by their numbers
    std::unordered_multimap<uint32_t, DeviceSession*> mBySerial;       ///< two devices may have one serial
    std::unordered_multimap<std::string_view, DeviceSession*> mByPeer; ///< of the sessions' own texts
};

} // namespace server

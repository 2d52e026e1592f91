#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>

#include "wmsg/wmsg.h"
#include "zulhttp/metricstext.h"

namespace server {

/// Counts what crosses the connections to all devices, for the metrics.
struct SessionCounts
{
    std::map<std::array<std::string, 3>, uint64_t> messages; ///< by direction, type and outcome
    std::map<std::string, uint64_t> disconnects;             ///< by one of few reasons
    zulhttp::DurationBuckets commandRequests;                ///< until their answers
    zulhttp::DurationBuckets serverRequests;

    void addReceived(const char* type, const char* outcome) { ++messages[{"in", type, outcome}]; }
    void addSent(const char* type, const char* outcome) { ++messages[{"out", type, outcome}]; }
    void addDisconnect(const std::string& reason) { ++disconnects[shortReason(reason)]; }

    /// "event", "answer" and so on.
    static const char* typeOf(const WMsg& message);

    /// One of few words for the reason of a line "disconnected".
    static const char* shortReason(const std::string& reason);
};

} // namespace server

#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

#include "proxy/faults/parcel.h"
#include "proxy/rules/ruleset.h"

namespace proxy {

/// What rules ask about a connection.
struct ConnectionFacts
{
    uint64_t number = 0;
    uint64_t seed = 0;
    int64_t begunNs = 0;
    std::optional<uint32_t> deviceSerial = {};
    uint32_t deviceConnection = 0; ///< from 1; 0 before the serial number is known
};

enum class eConcern : uint8_t
{
    NO,
    YES,
    NOT_YET ///< the device is not known
};

/// Whether @p rule is about the device of @p connection.
inline eConcern concernOf(const ActiveRule& rule, const ConnectionFacts& connection)
{
    if (!rule.rule.namesDevice()) {
        return eConcern::YES;
    }
    if (!connection.deviceSerial) {
        return eConcern::NOT_YET;
    }
    const uint32_t serial = *connection.deviceSerial;
    const bool meant = (!rule.rule.devices || rule.rule.devices->has(serial)) &&
                       (!rule.rule.reconnect || *rule.rule.reconnect == connection.deviceConnection) &&
                       (!rule.rule.share || sharesIn(connection.seed, rule, serial));
    return meant ? eConcern::YES : eConcern::NO;
}

/// A time from its first moment on, without its end.
struct TimeSpan
{
    int64_t fromNs = 0;
    int64_t untilNs = kNeverNs;

    bool has(int64_t ns) const { return ns >= fromNs && ns < untilNs; }
};

/// @p ns after @p sinceNs, kNeverNs if that is too far.
inline int64_t laterBy(int64_t ns, int64_t sinceNs)
{
    return ns > kNeverNs - sinceNs ? kNeverNs : sinceNs + ns;
}

/// When @p rule is in force for what has begun at @p sinceNs, a connection or the proxy.
inline TimeSpan timeOf(const ActiveRule& rule, int64_t sinceNs)
{
    const int64_t fromNs = laterBy(rule.rule.afterNs, std::max(sinceNs, rule.addedNs));
    return {fromNs, rule.rule.forNs ? laterBy(*rule.rule.forNs, fromNs) : kNeverNs};
}

/// Whether a rule acts on the @p place-th, from 1, of what matches it, unless its chance says no.
inline bool countsIn(const Rule& rule, uint64_t place)
{
    const uint64_t skip = rule.skip.value_or(0);
    return place > skip && (!rule.first || place <= *rule.first) &&
           (!rule.count || place - skip <= *rule.count) && (place - skip - 1) % rule.every.value_or(1) == 0;
}

} // namespace proxy

#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "fleet/report/fleetreport.h"
#include "zuldevice/portrules.h"
#include "zuldevice/seededrandom.h"

namespace fleet {

/// The shares of the kinds of events.
class EventMix
{
public:
    /// 70 parts inputs that change over, 20 samples, 5 scans and 5 ad-hoc events, as far as devices with
    /// @p counts have them.
    static EventMix usual(const zuldevice::Counts& counts);

    /// Reads "din=70,ain=20,scan=5,adhoc=5"; a kind that is left out has no share. Returns one sentence if
    /// that is no mix for devices with @p counts, else an empty text.
    static std::string parse(const std::string& text, const zuldevice::Counts& counts, EventMix* mix);

    /// What one event is.
    struct Event
    {
        eEventKind kind = eEventKind::DIN;
        uint32_t device = 0; ///< from 0
        uint32_t number = 0; ///< of the port or scanner, from 1; an ad-hoc event's id
        uint32_t value = 0;  ///< a sample's, 0 to 100; a scan's code
    };

    /// Event @p step of a fleet of @p devices, the same with each run with @p seed.
    Event draw(uint32_t seed, uint64_t step, uint32_t devices) const;

private:
    void setPorts(const zuldevice::Counts& counts);
    uint64_t sum() const;

    std::array<uint32_t, kEventKinds.size()> mShares{};
    std::array<uint32_t, kEventKinds.size()> mPorts{}; ///< how many numbers each kind has
};

} // namespace fleet

#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "fleet/devices/eventmix.h"
#include "fleet/devices/labelpattern.h"
#include "fleet/devices/outage.h"
#include "fleet/report/shard.h"
#include "zuldevice/portrules.h"
#include "zullink/linksettings.h"

namespace fleet {

/// What a fleet consists of and does. Numbers and rates are those of the whole fleet, of which @p shard is
/// played. Times are in microseconds.
struct FleetSettings
{
    static constexpr double kUsualConnectRate = 1000.0;

    uint32_t count = 0;
    zuldevice::Counts counts;
    uint32_t version = 0;
    uint32_t serialStart = 1;
    LabelPattern label;
    uint32_t seed = 0;
    bool seedIsGiven = false;               ///< it counts instead of the scenarios' own
    double connectRate = kUsualConnectRate; ///< in a second
    double eventRate = 0.0;                 ///< in a second; 0 for no events
    EventMix mix;
    std::optional<int64_t> sampleEvery; ///< nothing if the devices' own rates say
    std::vector<OutageOrder> outages;
    std::optional<int64_t> duration; ///< after the events began; nothing for no end
    double timeScale = 1.0; ///< the speed of the devices' own samples and of scenarios; 1 is real time
    bool untilDone = false; ///< ends when the scenarios are done and all events are sent
    Shard shard;
    sLinkSettings link;
};

} // namespace fleet

#pragma once

#include <cstdint>

#include "fleet/devices/steadytime.h"

namespace fleet {

/// Computes when each step of a constant rate is due. A step that is late does not delay the next one.
class Schedule
{
public:
    /// @p perSecond above 0; step 0 is due at @p beginUs.
    Schedule(int64_t beginUs, double perSecond) : mBeginUs(beginUs), mPerSecond(perSecond) {}

    int64_t due(uint64_t step) const
    {
        return mBeginUs + static_cast<int64_t>(static_cast<double>(step) * kSecond / mPerSecond);
    }

private:
    int64_t mBeginUs;
    double mPerSecond;
};

} // namespace fleet

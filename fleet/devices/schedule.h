#pragma once

#include <cstdint>

#include "fleet/devices/steadytime.h"

namespace fleet {

/// Says when each of many equal steps is due: so many a second, whatever became of those before.
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

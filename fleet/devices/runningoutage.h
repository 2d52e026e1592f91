#pragma once

#include <cstdint>
#include <optional>
#include <unordered_set>

#include "fleet/devices/busiestsecond.h"
#include "fleet/devices/outage.h"
#include "fleet/report/fleetreport.h"

namespace fleet {

/// Watches an outage until all the devices that it took down are back.
class RunningOutage
{
public:
    /// @p atUs is as planned, @p begunUs by the clock.
    RunningOutage(OutageOrder::Kind kind, int64_t atUs, int64_t begunUs)
        : mKind(kind), mAtUs(atUs), mBegunUs(begunUs)
    {}

    void add(uint32_t device)
    {
        mDown.insert(device);
        ++mDevices;
    }

    bool isOver() const { return mDown.empty(); }

    void connectBegun(int64_t nowUs) { isOver() ? void() : mConnects.add(nowUs); }

    void identified(uint32_t device, int64_t nowUs)
    {
        if (mDown.erase(device) > 0 && mDown.empty()) {
            mBackUs = nowUs;
        }
    }

    Outage report() const
    {
        return {outageWord(mKind), inSeconds(mAtUs), mDevices,
                isOver() ? std::make_optional(inSeconds(mBackUs - mBegunUs)) : std::nullopt,
                mConnects.most()};
    }

private:
    OutageOrder::Kind mKind;
    int64_t mAtUs;
    int64_t mBegunUs;
    int64_t mBackUs = mBegunUs;
    uint64_t mDevices = 0;
    std::unordered_set<uint32_t> mDown;
    BusiestSecond mConnects;
};

} // namespace fleet

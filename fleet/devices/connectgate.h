#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

#include "fleet/devices/steadytime.h"

namespace fleet {

/// Spaces the connections that devices begin by themselves, so that no second sees more than a number of
/// them.
class ConnectGate
{
public:
    /// @p mostPerSecond above 0.
    explicit ConnectGate(double mostPerSecond)
        : mSpacingUs(static_cast<int64_t>(kSecond / (mostPerSecond * kUsedShare)) + 1)
    {}

    /// When the next connection may begin.
    int64_t nextUs() const { return mNextUs; }

    /// The moment from which one more connection may begin, at most kCatchUp before @p nowUs; nothing if that
    /// is yet to come.
    std::optional<int64_t> take(int64_t nowUs)
    {
        if (mNextUs > nowUs) {
            return std::nullopt;
        }
        const int64_t slot = std::max(mNextUs, nowUs - kCatchUp);
        mNextUs = slot + mSpacingUs;
        return slot;
    }

    /// A connection that was planned begins now. Others give way to it, but no longer than a second.
    void noteOther(int64_t nowUs)
    {
        mNextUs = std::min(std::max(mNextUs, nowUs) + mSpacingUs, nowUs + kSecond);
    }

private:
    /// A loop that is late makes up for at most this delay.
    static constexpr int64_t kCatchUp = 20 * kMillisecond;

    /// The rest is room for what it makes up for.
    static constexpr double kUsedShare = 0.95;

    int64_t mSpacingUs;
    int64_t mNextUs = 0;
};

} // namespace fleet

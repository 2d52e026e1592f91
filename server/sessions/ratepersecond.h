#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace server {

/// Counts what happens, over the last whole seconds.
class RatePerSecond
{
public:
    /// How many whole seconds count.
    static constexpr size_t kSeconds = 5;

    /// All times are in milliseconds by a clock that never goes back.
    explicit RatePerSecond(int64_t nowMs) : mBeginMs(nowMs) {}

    void add(int64_t nowMs);

    /// The average of the last kSeconds whole seconds since the beginning, of fewer as long as there are
    /// fewer. 0 before the first one is over.
    double perSecond(int64_t nowMs);

private:
    void advance(int64_t nowMs);

    int64_t mBeginMs;
    uint64_t mSecond = 0;                         ///< since the beginning, the one that lasts
    std::array<uint64_t, kSeconds + 1> mCounts{}; ///< of that second and those before, by second modulo size
};

} // namespace server

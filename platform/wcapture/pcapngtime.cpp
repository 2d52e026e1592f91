#include "wcapture/pcapngtime.h"

#include <algorithm>

namespace pcapng {

namespace {

constexpr uint8_t kIsBinary = 0x80;
constexpr int64_t kNsPerSecond = 1'000'000'000;
constexpr int64_t kMaxSeconds = INT64_MAX / kNsPerSecond - 1;

struct Moment
{
    uint64_t seconds = 0;
    uint64_t ns = 0;
};

/// @p units of 2 to the power of -@p exponent seconds.
Moment binary(uint64_t units, unsigned exponent)
{
    // Less than a nanosecond is lost, and the product below stays within 64 bits.
    constexpr unsigned kFinest = 34;
    if (exponent > kFinest) {
        const unsigned dropped = exponent - kFinest;
        units = dropped < 64 ? units >> dropped : 0;
        exponent = kFinest;
    }
    const uint64_t fraction = units & ((uint64_t{1} << exponent) - 1);
    return {units >> exponent, (fraction * kNsPerSecond) >> exponent};
}

/// @p units of 10 to the power of -@p exponent seconds.
Moment decimal(uint64_t units, unsigned exponent)
{
    for (; exponent > 9; --exponent) {
        units /= 10;
    }
    uint64_t perSecond = 1;
    uint64_t nsPerUnit = kNsPerSecond;
    for (; exponent > 0; --exponent) {
        perSecond *= 10;
        nsPerUnit /= 10;
    }
    return {units / perSecond, units % perSecond * nsPerUnit};
}

} // namespace

int64_t sClock::timeNs(uint64_t units) const
{
    const unsigned exponent = resolution & ~kIsBinary;
    const Moment moment = (resolution & kIsBinary) != 0 ? binary(units, exponent) : decimal(units, exponent);
    const auto seconds = static_cast<int64_t>(std::min<uint64_t>(moment.seconds, kMaxSeconds));
    const int64_t offset = std::clamp(offsetSeconds, -kMaxSeconds, kMaxSeconds);
    return std::clamp(seconds + offset, -kMaxSeconds, kMaxSeconds) * kNsPerSecond +
           static_cast<int64_t>(moment.ns);
}

} // namespace pcapng

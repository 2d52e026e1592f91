#pragma once

#include <cstdint>

namespace pcapng {

/// How the times of an interface count.
struct sClock
{
    uint8_t resolution =
        6; ///< the option if_tsresol: 10 or, with the highest bit, 2 to the power of minus this
    int64_t offsetSeconds = 0;

    /// Nanoseconds since 1970 for @p units; the nearest that 64 bits hold.
    int64_t timeNs(uint64_t units) const;
};

} // namespace pcapng

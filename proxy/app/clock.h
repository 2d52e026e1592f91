#pragma once

#include <chrono>
#include <cstdint>

namespace proxy {

/// The time by a clock that never goes back, in nanoseconds, for FaultyConnection.
inline int64_t nowNs()
{
    using namespace std::chrono;
    return duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace proxy

#pragma once

#include <chrono>
#include <cstdint>

#include "zullink/linkclock.h"

namespace fleet {

// Times in microseconds. Those of one kind are by the link's clock, which never goes back.

constexpr int64_t kMillisecond = 1000;
constexpr int64_t kSecond = 1000 * kMillisecond;

inline int64_t nowUs()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(cLinkClock::now().time_since_epoch()).count();
}

inline double inSeconds(int64_t us) { return static_cast<double>(us) / static_cast<double>(kSecond); }

} // namespace fleet

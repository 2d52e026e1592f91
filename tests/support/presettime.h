#pragma once

#include <atomic>
#include <cstdint>

/// The time that a program sees if it was started with presettime.cpp; shared memory.
struct sPresetTime
{
    std::atomic<int64_t> now;  ///< in seconds; set by the test
    std::atomic<int64_t> told; ///< what the program was told last
};

#pragma once

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

/// What the programs measure and how they tell it: one line each, "KEY VALUE", or "KEY MEDIAN LOW HIGH" for
/// what was measured in rounds.
namespace figures {

/// Microseconds on the clock that all processes share.
inline double now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

/// The value below which this part of @p values lies; 0 if there is none.
inline double quantile(std::vector<double> values, double part)
{
    if (values.empty()) {
        return 0;
    }
    const auto at = values.begin() + static_cast<long>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

inline void print(const std::string& key, double value)
{
    std::printf("%s %.6g\n", key.c_str(), value);
    std::fflush(stdout);
}

inline void print(const std::string& key, const std::vector<double>& rounds)
{
    std::printf("%s %.6g %.6g %.6g\n", key.c_str(), quantile(rounds, 0.5), quantile(rounds, 0),
                quantile(rounds, 1));
    std::fflush(stdout);
}

} // namespace figures

#pragma once

#include <chrono>
#include <ctime>

/// A clock that runs a number of times as fast as the real one.
///
/// What a device does by itself follows it; the link does not.
class cScaledClock
{
public:
    using Real = std::chrono::steady_clock;
    using Duration = std::chrono::microseconds;

    static constexpr double kMinScale = 0.1;
    static constexpr double kMaxScale = 10'000.0;

    explicit cScaledClock(double scale = 1.0) : mScale(scale) {}

    double scale() const { return mScale; }

    /// Since the clock was made.
    Duration elapsed() const { return std::chrono::duration_cast<Duration>((Real::now() - mBegun) * mScale); }

    /// When elapsed() is or was @p time.
    Real::time_point realTime(Duration time) const
    {
        return mBegun + std::chrono::duration_cast<Real::duration>(time / mScale);
    }

    /// The time of day when the clock was made, in seconds.
    time_t beginning() const { return mBeginning; }

    /// The time of day, in seconds.
    time_t seconds() const
    {
        return mScale == 1.0
                   ? time(nullptr)
                   : mBeginning + std::chrono::duration_cast<std::chrono::seconds>(elapsed()).count();
    }

private:
    double mScale;
    Real::time_point mBegun = Real::now();
    time_t mBeginning = time(nullptr);
};

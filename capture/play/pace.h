#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace capture {

/// Says when what was recorded is due, once the playing has begun.
class Pace
{
public:
    using Clock = std::chrono::steady_clock;

    enum class eKind : uint8_t
    {
        TIMED, ///< as recorded, `speed` times as fast
        MAX,   ///< at once
        STEP   ///< each message at a line of the input
    };

    /// "original", "max", "step" or a speed above 0. Nothing for another @p text.
    static std::optional<Pace> parse(const std::string& text);

    eKind kind() const { return mKind; }

    /// A time between two recorded moments that is longer counts as this one.
    void setMaxGap(std::chrono::nanoseconds gap) { mMaxGap = gap; }

    /// What was recorded next is due now.
    void begin() { mBegin.reset(); }

    /// When that which was recorded at @p timeNs is due: a time in the past, or now, if at once. Times that
    /// go back count as the latest one.
    Clock::time_point due(int64_t timeNs);

    /// Delays all that follows.
    void delay(Clock::duration time) { mBegin = mBegin.value_or(Clock::now()) + time; }

private:
    eKind mKind = eKind::TIMED;
    double mSpeed = 1.0;
    std::optional<std::chrono::nanoseconds> mMaxGap;
    std::optional<Clock::time_point> mBegin;
    std::chrono::nanoseconds mPlayed{}; ///< recorded time so far, without what was skipped
    int64_t mLastNs = 0;
};

} // namespace capture

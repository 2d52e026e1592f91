#include "capture/play/pace.h"

#include <algorithm>

#include "zulcommand/commandwords.h"

namespace capture {

namespace {

constexpr double kMinSpeed = 1e-3;
constexpr double kMaxSpeed = 1e6;

/// About 30 years: leaves room for what is added to it.
constexpr double kMaxNs = 1e18;

} // namespace

std::optional<Pace> Pace::parse(const std::string& text)
{
    Pace pace;
    if (text == "max" || text == "step") {
        pace.mKind = text == "max" ? eKind::MAX : eKind::STEP;
    } else if (text != "original") {
        pace.mSpeed = zulcommand::parseDouble(text).value_or(0.0);
    }
    return pace.mSpeed >= kMinSpeed && pace.mSpeed <= kMaxSpeed ? std::make_optional(pace) : std::nullopt;
}

Pace::Clock::time_point Pace::due(int64_t timeNs)
{
    using std::chrono::nanoseconds;
    if (!mBegin) {
        mBegin = Clock::now();
        mPlayed = nanoseconds(0);
        mLastNs = timeNs;
    }
    const nanoseconds gap(std::max<int64_t>(timeNs - mLastNs, 0));
    mPlayed += std::min(gap, mMaxGap.value_or(gap));
    mLastNs = std::max(timeNs, mLastNs);
    if (mKind != eKind::TIMED) {
        return Clock::now();
    }
    const double ns = static_cast<double>(mPlayed.count()) / mSpeed;
    return *mBegin + nanoseconds(static_cast<int64_t>(std::min(ns, kMaxNs)));
}

} // namespace capture

#include "server/sessions/ratepersecond.h"

#include <algorithm>
#include <numeric>

namespace server {

void RatePerSecond::advance(int64_t nowMs)
{
    const auto second = static_cast<uint64_t>(nowMs - mBeginMs) / 1000;
    if (second - mSecond >= mCounts.size()) {
        mCounts.fill(0);
        mSecond = second;
    }
    while (mSecond < second) {
        mCounts[++mSecond % mCounts.size()] = 0;
    }
}

void RatePerSecond::add(int64_t nowMs)
{
    advance(nowMs);
    ++mCounts[mSecond % mCounts.size()];
}

double RatePerSecond::perSecond(int64_t nowMs)
{
    advance(nowMs);
    const uint64_t whole = std::min<uint64_t>(mSecond, kSeconds);
    const uint64_t all = std::accumulate(mCounts.begin(), mCounts.end(), uint64_t{0});
    const uint64_t counted = all - mCounts[mSecond % mCounts.size()];
    return whole == 0 ? 0.0 : static_cast<double>(counted) / static_cast<double>(whole);
}

} // namespace server

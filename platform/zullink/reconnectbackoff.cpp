#include "zullink/reconnectbackoff.h"

#include <algorithm>

cReconnectBackoff::cReconnectBackoff(int firstMs, int longestMs, uint32_t seed)
    : mFirstMs(firstMs), mLongestMs(longestMs), mBaseMs(firstMs), mRandom(seed)
{}

int cReconnectBackoff::next()
{
    std::uniform_real_distribution<double> factor(1.0, 1.5);
    const int pauseMs = std::min(static_cast<int>(mBaseMs * factor(mRandom)), mLongestMs);
    // By chance, too, the longest pause is not one and the same for all.
    mBaseMs = std::min(mBaseMs * 2, mLongestMs * 2 / 3);
    return pauseMs;
}

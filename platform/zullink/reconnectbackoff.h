#pragma once

#include <algorithm>
#include <cstdint>
#include <random>

/// Says how long to wait before the next attempt to connect, in milliseconds.
///
/// Each pause is twice as long as the one before, up to a longest one, and up to half as long again by
/// chance: devices that lost the same server must not all come back in the same instant.
class cReconnectBackoff
{
public:
    /// Equal seeds give equal pauses.
    cReconnectBackoff(int firstMs, int longestMs, uint32_t seed)
        : mFirstMs(firstMs), mLongestMs(longestMs), mBaseMs(firstMs), mRandom(seed)
    {}

    int next()
    {
        std::uniform_real_distribution<double> factor(1.0, 1.5);
        const int pauseMs = std::min(static_cast<int>(mBaseMs * factor(mRandom)), mLongestMs);
        // Less than the longest, so that chance has a say in the longest pause, too.
        mBaseMs = std::min(mBaseMs * 2, mLongestMs * 2 / 3);
        return pauseMs;
    }

    /// The next pause is a first one again.
    void reset() { mBaseMs = mFirstMs; }

private:
    const int mFirstMs;
    const int mLongestMs;
    int mBaseMs;
    std::minstd_rand mRandom;
};

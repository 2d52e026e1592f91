#pragma once

#include <cstdint>
#include <random>

/// Says how long to wait before the next attempt to connect.
///
/// Each pause is twice as long as the one before, up to a longest one, and up to half as long again by
/// chance: devices that lost the same server must not all come back in the same instant.
class cReconnectBackoff
{
public:
    /// All in milliseconds. Equal seeds give equal pauses.
    cReconnectBackoff(int firstMs, int longestMs, uint32_t seed);

    /// From the first pause, or the one that its doubling has reached, to half as much again; never more
    /// than the longest one.
    int next();

    /// The next pause is a first one again.
    void reset() { mBaseMs = mFirstMs; }

private:
    const int mFirstMs;
    const int mLongestMs;
    int mBaseMs;
    std::minstd_rand mRandom;
};

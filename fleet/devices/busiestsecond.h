#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>

#include "fleet/devices/steadytime.h"

namespace fleet {

/// Tells how many of many moments fell into one second, at most.
class BusiestSecond
{
public:
    /// @p nowUs does not go back.
    void add(int64_t nowUs)
    {
        while (!mLast.empty() && mLast.front() <= nowUs - kSecond) {
            mLast.pop_front();
        }
        mLast.push_back(nowUs);
        mMost = std::max<uint64_t>(mMost, mLast.size());
    }

    uint64_t most() const { return mMost; }

private:
    std::deque<int64_t> mLast; ///< those of the last second
    uint64_t mMost = 0;
};

} // namespace fleet

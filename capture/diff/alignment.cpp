#include "capture/diff/alignment.h"

#include <algorithm>

namespace capture {

namespace {

/// The search for a path through the grid of both sequences: along a diagonal the elements are the same.
class PathSearch
{
public:
    PathSearch(std::span<const uint64_t> a, std::span<const uint64_t> b, bool isWhole)
        : mA(a), mB(b), mIsWhole(isWhole)
    {}

    std::vector<eStep> find()
    {
        long edits = 0;
        while (!extend(edits) && edits < static_cast<long>(kMaxEdits)) {
            ++edits;
        }
        return stepsBack(edits);
    }

private:
    /// How far in A the paths with a number of edits come, by diagonal: that of A minus that of B.
    struct Front
    {
        long edits = 0;
        std::vector<long> reached = {};

        long& at(long diagonal) { return reached[static_cast<size_t>(diagonal + edits)]; }
        long at(long diagonal) const { return reached[static_cast<size_t>(diagonal + edits)]; }
        bool has(long diagonal) const { return diagonal >= -edits && diagonal <= edits; }
    };

    static constexpr long kUnreachable = -1;

    /// Follows all paths with one edit more. True if one ends, which is mBest.
    bool extend(long edits)
    {
        Front front{edits, std::vector<long>(static_cast<size_t>(2 * edits + 1), kUnreachable)};
        long bestSum = -1;
        bool ends = false;
        for (long diagonal = -edits; diagonal <= edits; diagonal += 2) {
            const long x = follow(startOf(edits, diagonal), diagonal);
            front.at(diagonal) = x;
            if (x == kUnreachable) {
                continue;
            }
            const bool isEnd = endsAt(x, x - diagonal);
            const long sum = 2 * x - diagonal;
            if ((isEnd && !ends) || (isEnd == ends && sum > bestSum)) {
                bestSum = sum;
                mBest = diagonal;
                ends = isEnd;
            }
        }
        mFronts.push_back(std::move(front));
        return ends;
    }

    bool endsAt(long x, long y) const
    {
        const bool endsA = x == static_cast<long>(mA.size());
        const bool endsB = y == static_cast<long>(mB.size());
        return mIsWhole ? endsA && endsB : endsA || endsB;
    }

    /// Where the paths of @p before come to on @p diagonal by an element of A, and by one of B.
    long byA(const Front& before, long diagonal) const
    {
        const long x = before.has(diagonal - 1) ? before.at(diagonal - 1) : kUnreachable;
        return x == kUnreachable || x == static_cast<long>(mA.size()) ? kUnreachable : x + 1;
    }
    long byB(const Front& before, long diagonal) const
    {
        const long x = before.has(diagonal + 1) ? before.at(diagonal + 1) : kUnreachable;
        return x - diagonal > static_cast<long>(mB.size()) ? kUnreachable : x;
    }

    long startOf(long edits, long diagonal) const
    {
        return edits == 0 ? 0 : std::max(byA(mFronts.back(), diagonal), byB(mFronts.back(), diagonal));
    }

    long follow(long x, long diagonal) const
    {
        const auto sizeA = static_cast<long>(mA.size());
        const auto sizeB = static_cast<long>(mB.size());
        while (x != kUnreachable && x < sizeA && x - diagonal < sizeB &&
               mA[static_cast<size_t>(x)] == mB[static_cast<size_t>(x - diagonal)]) {
            ++x;
        }
        return x;
    }

    std::vector<eStep> stepsBack(long edits) const
    {
        std::vector<eStep> steps;
        long diagonal = mBest;
        long x = mFronts[static_cast<size_t>(edits)].at(diagonal);
        for (; edits > 0; --edits) {
            const Front& before = mFronts[static_cast<size_t>(edits - 1)];
            const bool isByA = byA(before, diagonal) > byB(before, diagonal);
            const long start = isByA ? byA(before, diagonal) : byB(before, diagonal);
            steps.insert(steps.end(), static_cast<size_t>(x - start), eStep::BOTH);
            steps.push_back(isByA ? eStep::ONLY_A : eStep::ONLY_B);
            diagonal += isByA ? -1 : 1;
            x = before.at(diagonal);
        }
        steps.insert(steps.end(), static_cast<size_t>(x), eStep::BOTH);
        std::ranges::reverse(steps);
        return steps;
    }

    const std::span<const uint64_t> mA;
    const std::span<const uint64_t> mB;
    const bool mIsWhole;
    std::vector<Front> mFronts; ///< by number of edits
    long mBest = 0;             ///< diagonal of the path that has come furthest
};

} // namespace

std::vector<eStep> align(std::span<const uint64_t> a, std::span<const uint64_t> b, bool isWhole)
{
    if (isWhole && (a.empty() || b.empty())) {
        std::vector<eStep> steps(a.size(), eStep::ONLY_A);
        steps.resize(a.size() + b.size(), eStep::ONLY_B);
        return steps;
    }
    return PathSearch(a, b, isWhole).find();
}

} // namespace capture

#include "proxy/faults/pacing.h"

#include <algorithm>

namespace proxy {

namespace {

constexpr int64_t kNsPerSecond = 1'000'000'000;

/// Paces bytes as a line of that rate does: a piece is due when the line has transmitted its last byte.
class RatePacer : public Pacer
{
public:
    RatePacer(uint32_t rule, uint32_t bytesPerSecond) : Pacer(rule), mRate(bytesPerSecond) {}

    void begin(int64_t /*value*/) override {}

    size_t nextPiece(size_t left) override
    {
        constexpr size_t kPiecesPerSecond = 100;
        return std::min(left, std::max<size_t>(1, mRate / kPiecesPerSecond));
    }

    /// The line is busy until the piece before is out, so being called late does not add up. A driver that is
    /// very late, or a receiver that does not read, is not made up for by a burst.
    int64_t due(size_t bytes, int64_t cameNs, int64_t nowNs) override
    {
        constexpr int64_t kMaxCatchUpNs = kNsPerSecond / 10;
        const int64_t beginNs = std::max({freeNs(), cameNs, nowNs - kMaxCatchUpNs});
        if (beginNs != freeNs()) {
            mSinceNs = beginNs;
            mBytes = 0;
        }
        return mSinceNs + timeFor(mBytes + bytes);
    }

    void passed(size_t bytes, int64_t /*nowNs*/) override
    {
        mBytes += bytes;
        mSinceNs += static_cast<int64_t>(mBytes / mRate) * kNsPerSecond;
        mBytes %= mRate;
    }

private:
    /// Whole seconds apart, as the product would not fit 64 bits.
    int64_t timeFor(uint64_t bytes) const
    {
        const uint64_t rest = bytes % mRate * kNsPerSecond;
        return static_cast<int64_t>(bytes / mRate) * kNsPerSecond + static_cast<int64_t>(rest / mRate);
    }

    int64_t freeNs() const { return hasBegun() ? mSinceNs + timeFor(mBytes) : INT64_MIN; }
    bool hasBegun() const { return mSinceNs != INT64_MIN; }

    const uint64_t mRate;
    int64_t mSinceNs =
        INT64_MIN; ///< the line has been busy since, with mBytes; INT64_MIN before the first piece
    uint64_t mBytes = 0;
};

/// Pieces of a drawn size, with a pause behind each.
class SlicePacer : public Pacer
{
public:
    SlicePacer(uint32_t number, const Rule& rule)
        : Pacer(number), mMin(rule.min), mMax(rule.max), mGapNs(rule.ns), mDraws(0, {}, 0)
    {}

    void begin(int64_t value) override
    {
        mDraws = cSeededRandom(static_cast<uint64_t>(value), {}, 0);
        mLeft = 0;
    }

    size_t nextPiece(size_t left) override
    {
        if (mLeft == 0) {
            mLeft = mMin + mDraws.next() % (uint64_t{mMax} - mMin + 1);
        }
        mLeft = std::min(left, mLeft);
        return mLeft;
    }

    int64_t due(size_t /*bytes*/, int64_t cameNs, int64_t /*nowNs*/) override
    {
        return std::max(cameNs, mNextNs);
    }

    /// Another pacer may have cut the piece: the pause is behind its last part.
    void passed(size_t bytes, int64_t nowNs) override
    {
        mLeft -= std::min(bytes, mLeft);
        mNextNs = nowNs + (mLeft == 0 ? mGapNs : 0);
    }

private:
    const uint32_t mMin;
    const uint32_t mMax;
    const int64_t mGapNs;
    cSeededRandom mDraws;
    size_t mLeft = 0;
    int64_t mNextNs = INT64_MIN;
};

/// Ends the connection after the number of bytes that the rule gives.
class LimitPacer : public Pacer
{
public:
    LimitPacer(uint32_t rule, uint32_t bytes) : Pacer(rule), mLeft(bytes) {}

    void begin(int64_t /*value*/) override {}
    bool exhausted() const override { return mLeft == 0; }
    size_t nextPiece(size_t left) override { return std::min(left, mLeft); }
    int64_t due(size_t /*bytes*/, int64_t cameNs, int64_t /*nowNs*/) override { return cameNs; }
    void passed(size_t bytes, int64_t /*nowNs*/) override { mLeft -= std::min(bytes, mLeft); }

private:
    size_t mLeft;
};

} // namespace

std::unique_ptr<Pacer> makePacer(const Rule& rule, uint32_t number)
{
    switch (rule.kind) {
    case eFault::RATE:
        return std::make_unique<RatePacer>(number, rule.min);
    case eFault::SLICE:
        return std::make_unique<SlicePacer>(number, rule);
    case eFault::LIMIT:
        return std::make_unique<LimitPacer>(number, rule.min);
    default:
        return nullptr;
    }
}

} // namespace proxy

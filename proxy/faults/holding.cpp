#include "proxy/faults/holding.h"

#include <algorithm>
#include <deque>
#include <utility>
#include <vector>

namespace proxy {

namespace {

struct TimedParcel
{
    Parcel parcel;
    int64_t dueNs = 0;
};

/// Holds marked parcels as long as the mark says. Subclasses decide who may overtake.
class TimedHolding : public Holding
{
public:
    using Holding::Holding;

    void letGoDue(int64_t nowNs, ParcelSink& next) override { letGo(nowNs, nowNs, next); }
    void letGoAll(int64_t nowNs, ParcelSink& next) override
    {
        std::ranges::stable_sort(mWaiting, {}, &Numbered::number);
        letGo(kNeverNs, nowNs, next);
    }
    int64_t deadline() const override { return mWaiting.empty() ? kNeverNs : mWaiting.front().timed.dueNs; }
    bool empty() const override { return mWaiting.empty(); }
    size_t cost() const override { return mCost; }

protected:
    struct Numbered
    {
        TimedParcel timed;
        uint64_t number = 0; ///< in the order in which they came
    };

    /// Keeps the order of times, and of coming where times are equal.
    void add(Parcel parcel, int64_t dueNs)
    {
        parcel.own();
        mCost += parcel.cost();
        const auto behind = std::ranges::upper_bound(mWaiting, dueNs, {},
                                                     [](const Numbered& each) { return each.timed.dueNs; });
        mWaiting.insert(behind, {{std::move(parcel), dueNs}, ++mCame});
    }

    int64_t lastDue() const { return mWaiting.back().timed.dueNs; }

private:
    void letGo(int64_t untilNs, int64_t nowNs, ParcelSink& next)
    {
        while (!mWaiting.empty() && mWaiting.front().timed.dueNs <= untilNs) {
            Parcel parcel = std::move(mWaiting.front().timed.parcel);
            mWaiting.pop_front();
            mCost -= parcel.cost();
            next.put(std::move(parcel), nowNs);
        }
    }

    std::deque<Numbered> mWaiting;
    size_t mCost = 0;
    uint64_t mCame = 0;
};

/// Nothing overtakes a parcel that waits.
class DelayHolding : public TimedHolding
{
public:
    using TimedHolding::TimedHolding;

    void take(Parcel parcel, int64_t nowNs, ParcelSink& next) override
    {
        const Mark* mark = markOn(parcel);
        const int64_t dueNs =
            std::max(nowNs + (mark == nullptr ? 0 : mark->value), empty() ? nowNs : lastDue());
        if (dueNs <= nowNs && empty()) {
            next.put(std::move(parcel), nowNs);
        } else {
            add(std::move(parcel), dueNs);
        }
    }
};

/// Everything overtakes a parcel that waits, but for what has an earlier time.
class LateHolding : public TimedHolding
{
public:
    using TimedHolding::TimedHolding;

    void take(Parcel parcel, int64_t nowNs, ParcelSink& next) override
    {
        const Mark* mark = markOn(parcel);
        if (mark == nullptr || mark->value == 0) {
            next.put(std::move(parcel), nowNs);
        } else {
            add(std::move(parcel), nowNs + mark->value);
        }
    }
};

/// Holds each marked parcel until as many others have come as its mark says.
class CountHolding : public Holding
{
public:
    using Holding::Holding;

    void take(Parcel parcel, int64_t nowNs, ParcelSink& next) override
    {
        for (Waiting& each : mWaiting) {
            --each.left;
        }
        if (const Mark* mark = markOn(parcel); mark != nullptr && mark->value > 0) {
            parcel.own();
            mCost += parcel.cost();
            mWaiting.push_back({std::move(parcel), mark->value});
        } else {
            next.put(std::move(parcel), nowNs);
        }
        while (!mWaiting.empty() && mWaiting.front().left <= 0) {
            letGoEarliest(nowNs, next);
        }
    }
    void letGoDue(int64_t /*nowNs*/, ParcelSink& /*next*/) override {}
    void letGoAll(int64_t nowNs, ParcelSink& next) override
    {
        while (!mWaiting.empty()) {
            letGoEarliest(nowNs, next);
        }
    }
    int64_t deadline() const override { return kNeverNs; }
    bool empty() const override { return mWaiting.empty(); }
    size_t cost() const override { return mCost; }
    const Parcel* earliest() const override { return empty() ? nullptr : &mWaiting.front().parcel; }
    void letGoEarliest(int64_t nowNs, ParcelSink& next) override
    {
        Parcel parcel = std::move(mWaiting.front().parcel);
        mWaiting.pop_front();
        mCost -= parcel.cost();
        next.put(std::move(parcel), nowNs);
    }

private:
    struct Waiting
    {
        Parcel parcel;
        int64_t left;
    };

    std::deque<Waiting> mWaiting;
    size_t mCost = 0;
};

/// Joins parcels until they have the number of bytes that the rule gives.
class JoinHolding : public Holding
{
public:
    JoinHolding(uint32_t rule, size_t bytes) : Holding(rule), mWanted(bytes) {}

    /// A parcel without a mark joins those that are held, as it may not overtake them.
    void take(Parcel parcel, int64_t nowNs, ParcelSink& next) override
    {
        constexpr size_t kMaxJoined = 64 * 1024;
        if (parcel.size() > kMaxJoined || (empty() && markOn(parcel) == nullptr)) {
            letGoAll(nowNs, next);
            next.put(std::move(parcel), nowNs);
            return;
        }
        join(std::move(parcel));
        if (mJoined.size() >= mWanted || mJoined.cutsAfter) {
            letGoAll(nowNs, next);
        }
    }
    void letGoDue(int64_t /*nowNs*/, ParcelSink& /*next*/) override {}
    void letGoAll(int64_t nowNs, ParcelSink& next) override
    {
        if (!empty()) {
            letGoEarliest(nowNs, next);
        }
    }
    int64_t deadline() const override { return kNeverNs; }
    bool empty() const override { return mJoined.owned.empty(); }
    size_t cost() const override { return empty() ? 0 : mJoined.cost(); }
    const Parcel* earliest() const override { return empty() ? nullptr : &mJoined; }
    void letGoEarliest(int64_t nowNs, ParcelSink& next) override
    {
        next.put(std::exchange(mJoined, Parcel()), nowNs);
    }

private:
    void join(Parcel parcel)
    {
        mJoined.number = empty() ? parcel.number : mJoined.number;
        for (uint32_t i = 0; i < parcel.times; ++i) {
            mJoined.owned.insert(mJoined.owned.end(), parcel.bytes.begin(), parcel.bytes.end());
        }
        mJoined.bytes = mJoined.owned;
        mJoined.cutsAfter = parcel.cutsAfter;
        for (const Mark& mark : parcel.marks) {
            if (mJoined.markOf(mark.rule) == nullptr) {
                mJoined.marks.push_back(mark);
            }
        }
    }

    const size_t mWanted;
    Parcel mJoined;
};

} // namespace

std::unique_ptr<Holding> makeHolding(const Rule& rule, uint32_t number)
{
    switch (rule.kind) {
    case eFault::DELAY:
    case eFault::STALL:
        return std::make_unique<DelayHolding>(number);
    case eFault::LATE:
        return std::make_unique<LateHolding>(number);
    case eFault::SWAP:
    case eFault::HOLD:
        return std::make_unique<CountHolding>(number);
    case eFault::JOIN:
        return std::make_unique<JoinHolding>(number, rule.min);
    default:
        return nullptr;
    }
}

} // namespace proxy

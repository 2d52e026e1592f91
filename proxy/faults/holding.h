#pragma once

#include <cstdint>
#include <memory>

#include "proxy/faults/parcel.h"
#include "proxy/rules/rule.h"

namespace proxy {

/// Holds back the parcels that bear the mark of its rule, and perhaps those behind them.
class Holding
{
public:
    explicit Holding(uint32_t rule) : mRule(rule) {}
    virtual ~Holding() = default;
    Holding(const Holding&) = delete;
    Holding& operator=(const Holding&) = delete;

    uint32_t rule() const { return mRule; }

    /// Puts what need not wait into @p next, @p parcel or others.
    virtual void take(Parcel parcel, int64_t nowNs, ParcelSink& next) = 0;

    /// Puts what has waited long enough into @p next.
    virtual void letGoDue(int64_t nowNs, ParcelSink& next) = 0;

    /// Puts all into @p next, in the order in which it came.
    virtual void letGoAll(int64_t nowNs, ParcelSink& next) = 0;

    /// When letGoDue() has something to do; kNeverNs if it waits for other parcels.
    virtual int64_t deadline() const = 0;

    virtual bool empty() const = 0;

    /// See Parcel::cost(): of all that it holds.
    virtual size_t cost() const = 0;

    /// The earliest parcel that waits for others to come; null if none does.
    virtual const Parcel* earliest() const { return nullptr; }

    /// Puts earliest(), which is not null, into @p next.
    virtual void letGoEarliest(int64_t /*nowNs*/, ParcelSink& /*next*/) {}

protected:
    const Mark* markOn(const Parcel& parcel) const { return parcel.markOf(mRule); }

private:
    const uint32_t mRule;
};

/// For the kinds that hold messages back: DELAY, STALL, LATE, SWAP, HOLD, JOIN. Null for the others.
std::unique_ptr<Holding> makeHolding(const Rule& rule, uint32_t number);

} // namespace proxy

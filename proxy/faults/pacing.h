#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "proxy/rules/rule.h"
#include "zuldevice/seededrandom.h"

namespace proxy {

/// Decides in which pieces, and when, the parcels that bear the mark of its rule are written.
class Pacer
{
public:
    explicit Pacer(uint32_t rule) : mRule(rule) {}
    virtual ~Pacer() = default;
    Pacer(const Pacer&) = delete;
    Pacer& operator=(const Pacer&) = delete;

    uint32_t rule() const { return mRule; }

    /// A parcel begins; @p value is that of its mark.
    virtual void begin(int64_t value) = 0;

    /// True if nothing more may pass at all.
    virtual bool exhausted() const { return false; }

    /// How large the next piece is of the @p left bytes of the parcel.
    virtual size_t nextPiece(size_t left) = 0;

    /// When a piece of @p bytes, which came at @p cameNs, may be written.
    virtual int64_t due(size_t bytes, int64_t cameNs, int64_t nowNs) = 0;

    /// A piece of @p bytes was written.
    virtual void passed(size_t bytes, int64_t nowNs) = 0;

private:
    const uint32_t mRule;
};

/// For the kinds RATE, SLICE and LIMIT; null for the others.
std::unique_ptr<Pacer> makePacer(const Rule& rule, uint32_t number);

} // namespace proxy

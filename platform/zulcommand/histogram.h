#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "zulcommand/jsontext.h"

namespace zulcommand {

/// Counts times and tells their percentiles with an error below one hundredth.
///
/// Values below kExact have a bucket each; every doubling beyond has kExact / 2 buckets of the same width.
class Histogram
{
public:
    static constexpr uint64_t kExact = 256;                   ///< in microseconds
    static constexpr uint64_t kMax = (uint64_t(1) << 49) - 1; ///< a longer time counts as this one

    /// The largest count that is read: sums of such counts stay exact.
    static constexpr int64_t kMaxRead = int64_t(1) << 40;

    /// Adds a time in microseconds.
    void record(uint64_t microseconds) { add(microseconds, 1); }

    /// Adds all that @p other has.
    void merge(const Histogram& other);

    uint64_t count() const { return mCount; }

    /// The longest time, exactly; 0 if there is none.
    uint64_t max() const { return mMax; }

    /// The time that @p percent of all do not exceed, in microseconds: the largest value of its bucket, at
    /// most max(). 0 if there is none.
    uint64_t percentile(double percent) const;

    /// The members count, p50, p90, p99, p999, max and histogram, in seconds. The times are null if there is
    /// none; histogram lists the largest value and the count of each bucket that is not empty.
    JsonPtr toJson() const;

    /// Reads what toJson() wrote; nothing if it contradicts itself.
    static std::optional<Histogram> fromJson(const json_t* json);

private:
    void add(uint64_t microseconds, uint64_t count);
    bool addPair(const json_t* pair);

    std::vector<uint64_t> mBuckets; ///< up to the last one that is not empty
    uint64_t mCount = 0;
    uint64_t mMax = 0;
};

} // namespace zulcommand

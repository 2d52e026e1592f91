#include "zulcommand/histogram.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace zulcommand {

namespace {

constexpr double kMicroseconds = 1e6; // in a second

/// How often @p value is halved before its bucket has the width 1.
unsigned halvings(uint64_t value)
{
    const auto bits = static_cast<unsigned>(std::bit_width(value));
    constexpr auto kExactBits = static_cast<unsigned>(std::bit_width(Histogram::kExact - 1));
    return bits > kExactBits ? bits - kExactBits : 0;
}

size_t bucketOf(uint64_t value)
{
    const unsigned shift = halvings(value);
    return shift * (Histogram::kExact / 2) + (value >> shift);
}

uint64_t largestIn(size_t bucket)
{
    if (bucket < Histogram::kExact) {
        return bucket;
    }
    const unsigned shift = static_cast<unsigned>(bucket / (Histogram::kExact / 2)) - 1;
    const uint64_t halved = bucket - shift * (Histogram::kExact / 2);
    return ((halved + 1) << shift) - 1;
}

double seconds(uint64_t microseconds) { return static_cast<double>(microseconds) / kMicroseconds; }

/// Nothing if @p json is no time that a histogram can hold.
std::optional<uint64_t> microseconds(const json_t* json)
{
    const double value = json_number_value(json) * kMicroseconds;
    if (!json_is_number(json) || !(value >= 0.0 && value < static_cast<double>(Histogram::kMax) + 1.0)) {
        return {};
    }
    return static_cast<uint64_t>(std::llround(value));
}

} // namespace

void Histogram::add(uint64_t microseconds, uint64_t count)
{
    const uint64_t value = std::min(microseconds, kMax);
    const size_t bucket = bucketOf(value);
    if (bucket >= mBuckets.size()) {
        mBuckets.resize(bucket + 1);
    }
    mBuckets[bucket] += count;
    mCount += count;
    mMax = std::max(mMax, value);
}

void Histogram::merge(const Histogram& other)
{
    mBuckets.resize(std::max(mBuckets.size(), other.mBuckets.size()));
    for (size_t i = 0; i < other.mBuckets.size(); ++i) {
        mBuckets[i] += other.mBuckets[i];
    }
    mCount += other.mCount;
    mMax = std::max(mMax, other.mMax);
}

uint64_t Histogram::percentile(double percent) const
{
    // A product like 99.9 % of 1000 is not quite whole.
    const double rank = std::ceil(percent / 100.0 * static_cast<double>(mCount) * (1.0 - 1e-12));
    double passed = 0.0;
    for (size_t i = 0; i < mBuckets.size(); ++i) {
        passed += static_cast<double>(mBuckets[i]);
        if (mBuckets[i] > 0 && passed >= rank) {
            return std::min(largestIn(i), mMax);
        }
    }
    return mMax;
}

JsonPtr Histogram::toJson() const
{
    const auto timeOrNull = [this](uint64_t time) { return mCount ? json_real(seconds(time)) : json_null(); };
    json_t* const pairs = json_array();
    for (size_t i = 0; i < mBuckets.size(); ++i) {
        if (mBuckets[i] > 0) {
            json_array_append_new(
                pairs, json_pack("[f, I]", seconds(largestIn(i)), static_cast<json_int_t>(mBuckets[i])));
        }
    }
    return JsonPtr(json_pack("{s:I, s:o, s:o, s:o, s:o, s:o, s:o}", "count", static_cast<json_int_t>(mCount),
                             "p50", timeOrNull(percentile(50)), "p90", timeOrNull(percentile(90)), "p99",
                             timeOrNull(percentile(99)), "p999", timeOrNull(percentile(99.9)), "max",
                             timeOrNull(mMax), "histogram", pairs));
}

/// Adds a bucket behind all others. False if it is none.
bool Histogram::addPair(const json_t* pair)
{
    const std::optional<uint64_t> bound = microseconds(json_array_get(pair, 0));
    const json_int_t count = json_integer_value(json_array_get(pair, 1));
    if (!bound || count < 1 || count > kMaxRead || largestIn(bucketOf(*bound)) != *bound ||
        bucketOf(*bound) < mBuckets.size()) {
        return false;
    }
    add(*bound, static_cast<uint64_t>(count));
    return true;
}

std::optional<Histogram> Histogram::fromJson(const json_t* json)
{
    Histogram read;
    const json_t* const pairs = json_object_get(json, "histogram");
    const json_t* const count = json_object_get(json, "count");
    if (!json_is_array(pairs) || !json_is_integer(count)) {
        return {};
    }
    for (size_t i = 0; i < json_array_size(pairs); ++i) {
        if (!read.addPair(json_array_get(pairs, i))) {
            return {};
        }
    }
    if (json_integer_value(count) != static_cast<json_int_t>(read.mCount)) {
        return {};
    }
    if (read.mCount == 0) {
        return read;
    }
    const std::optional<uint64_t> max = microseconds(json_object_get(json, "max"));
    if (!max || bucketOf(*max) + 1 != read.mBuckets.size()) {
        return {};
    }
    read.mMax = *max;
    return read;
}

} // namespace zulcommand

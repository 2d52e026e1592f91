#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace zulhttp {

/// Counts durations in the buckets of a Prometheus histogram.
class DurationBuckets
{
public:
    /// The upper bounds, in seconds; one bucket more has no bound.
    static constexpr std::array kBounds{0.0005, 0.001, 0.0025, 0.005, 0.01, 0.025,
                                        0.05,   0.1,   0.25,   0.5,   1.0,  5.0};

    void add(std::chrono::duration<double> time);

    /// How many were at most as long as bound @p index, or, beyond the last bound, all.
    uint64_t upTo(size_t index) const;
    double sum() const { return mSum; }

private:
    std::array<uint64_t, kBounds.size() + 1> mCounts{};
    double mSum = 0.0;
};

/// Writes figures in the text format 0.0.4 of Prometheus.
class MetricsText
{
public:
    static constexpr const char* kType = "text/plain; version=0.0.4; charset=utf-8";

    using Labels = std::vector<std::pair<std::string, std::string>>;

    // Each begins a metric of one kind; values follow. @p help has no line end and no backslash.

    MetricsText& counter(const std::string& name, const std::string& help)
    {
        return begin(name, "counter", help);
    }
    MetricsText& gauge(const std::string& name, const std::string& help)
    {
        return begin(name, "gauge", help);
    }
    MetricsText& histogram(const std::string& name, const std::string& help)
    {
        return begin(name, "histogram", help);
    }

    MetricsText& value(uint64_t value, const Labels& labels = {});
    MetricsText& value(const DurationBuckets& buckets, const Labels& labels);

    const std::string& text() const { return mText; }

private:
    MetricsText& begin(const std::string& name, const char* kind, const std::string& help);
    void line(const std::string& name, const Labels& labels, const std::string& value);

    std::string mName;
    std::string mText;
};

} // namespace zulhttp

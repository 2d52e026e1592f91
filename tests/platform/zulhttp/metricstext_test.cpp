#include <gtest/gtest.h>
#include <ostream>
#include <string>

#include "zulhttp/metricstext.h"

TEST(MetricsTextTest, aMetricHasItsHelpItsTypeAndItsValues)
{
    zulhttp::MetricsText metrics;
    metrics.counter("a_total", "Things.").value(3, {{"kind", "x"}}).value(4);
    metrics.gauge("b", "Now.").value(1'000'000'000);
    EXPECT_EQ(metrics.text(),
              "# HELP a_total Things.\n# TYPE a_total counter\na_total{kind=\"x\"} 3\na_total 4\n"
              "# HELP b Now.\n# TYPE b gauge\nb 1000000000\n");
}

TEST(MetricsTextTest, aLabelIsEscaped)
{
    zulhttp::MetricsText metrics;
    metrics.gauge("b", "Now.").value(1, {{"l", "a\"b\\c\nd\xff"}});
    EXPECT_NE(metrics.text().find("b{l=\"a\\\"b\\\\c\\nd\xEF\xBF\xBD\"} 1\n"), std::string::npos)
        << metrics.text();
}

TEST(MetricsTextTest, aHistogramCountsUpToEachBound)
{
    zulhttp::DurationBuckets buckets;
    buckets.add(std::chrono::milliseconds(1));
    buckets.add(std::chrono::milliseconds(30));
    buckets.add(std::chrono::seconds(100));
    zulhttp::MetricsText metrics;
    metrics.histogram("t", "Time.").value(buckets, {});
    EXPECT_NE(metrics.text().find("t_bucket{le=\"0.001\"} 1\n"), std::string::npos) << metrics.text();
    EXPECT_NE(metrics.text().find("t_bucket{le=\"0.05\"} 2\n"), std::string::npos) << metrics.text();
    EXPECT_NE(metrics.text().find("t_bucket{le=\"5\"} 2\n"), std::string::npos) << metrics.text();
    EXPECT_NE(metrics.text().find("t_bucket{le=\"+Inf\"} 3\n"), std::string::npos) << metrics.text();
    EXPECT_NE(metrics.text().find("t_sum 100.031\nt_count 3\n"), std::string::npos) << metrics.text();
}

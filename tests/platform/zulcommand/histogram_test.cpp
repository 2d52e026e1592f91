#include "zulcommand/histogram.h"

#include <gtest/gtest.h>
#include <random>

using zulcommand::Histogram;

namespace {

Histogram of(std::initializer_list<uint64_t> values)
{
    Histogram histogram;
    for (const uint64_t value : values) {
        histogram.record(value);
    }
    return histogram;
}

std::string text(const Histogram& histogram) { return zulcommand::dumped(histogram.toJson()); }

std::optional<Histogram> parsed(const std::string& text)
{
    const zulcommand::JsonPtr json(json_loads(text.c_str(), 0, nullptr));
    EXPECT_TRUE(json) << text;
    return Histogram::fromJson(json.get());
}

/// A time of any magnitude.
uint64_t anyTime(std::mt19937_64* random) { return (*random)() >> ((*random)() % 64); }

} // namespace

TEST(HistogramTest, aNewOneIsEmpty)
{
    EXPECT_EQ(Histogram().count(), 0u);
    EXPECT_EQ(Histogram().max(), 0u);
    EXPECT_EQ(Histogram().percentile(50), 0u);
    EXPECT_EQ(text(Histogram()),
              R"({"count":0,"p50":null,"p90":null,"p99":null,"p999":null,"max":null,"histogram":[]})");
}

TEST(HistogramTest, shortTimesAreExact)
{
    for (uint64_t value = 0; value < Histogram::kExact; ++value) {
        EXPECT_EQ(of({value, 1000}).percentile(50), value);
    }
}

TEST(HistogramTest, aPercentileIsNeverTooLowAndAtMostAHundredthTooHigh)
{
    std::mt19937_64 random(1);
    for (int i = 0; i < 10000; ++i) {
        const uint64_t value = std::min(anyTime(&random), Histogram::kMax);
        const uint64_t told = of({value, Histogram::kMax}).percentile(50);
        ASSERT_GE(told, value);
        ASSERT_LE(told - value, value / 100);
    }
}

TEST(HistogramTest, percentilesCountFromTheShortest)
{
    Histogram histogram;
    for (uint64_t value = 1; value <= 1000; ++value) {
        histogram.record(value / 10); // 0 to 100, most of them ten times
    }
    EXPECT_EQ(histogram.count(), 1000u);
    EXPECT_EQ(histogram.percentile(50), 50u);
    EXPECT_EQ(histogram.percentile(99), 99u);
    EXPECT_EQ(histogram.percentile(99.9), 99u) << "the 999th of 1000";
    EXPECT_EQ(histogram.percentile(100), 100u);
}

TEST(HistogramTest, noPercentileExceedsTheLongestTime)
{
    EXPECT_EQ(of({1000001}).percentile(50), 1000001u);
    EXPECT_EQ(of({1000001}).max(), 1000001u);
}

TEST(HistogramTest, aTimeBeyondTheLongestCountsAsTheLongest)
{
    EXPECT_EQ(of({UINT64_MAX}).max(), Histogram::kMax);
    EXPECT_TRUE(Histogram::fromJson(of({UINT64_MAX}).toJson().get()));
}

TEST(HistogramTest, jsonListsTheBucketsThatAreNotEmpty)
{
    EXPECT_EQ(text(of({0, 70, 70, 1000})),
              R"({"count":4,"p50":7e-5,"p90":0.001,"p99":0.001,"p999":0.001,"max":0.001,)"
              R"("histogram":[[0.0,1],[7e-5,2],[0.001003,1]]})");
}

TEST(HistogramTest, jsonReadsBackWithoutLoss)
{
    std::mt19937_64 random(2);
    for (int i = 0; i < 200; ++i) {
        Histogram histogram;
        for (int j = 0; j < 200; ++j) {
            histogram.record(anyTime(&random));
        }
        const std::string full = zulcommand::dumped(histogram.toJson());
        const std::optional<Histogram> read = Histogram::fromJson(histogram.toJson().get());
        ASSERT_TRUE(read);
        ASSERT_EQ(zulcommand::dumped(read->toJson()), full);
        ASSERT_EQ(read->max(), histogram.max());
    }
}

TEST(HistogramTest, aMergedOneIsThatOfAllTimes)
{
    std::mt19937_64 random(3);
    Histogram all;
    Histogram parts[3];
    for (int i = 0; i < 10000; ++i) {
        const uint64_t value = anyTime(&random);
        all.record(value);
        parts[i % 3].record(value);
    }
    Histogram merged;
    for (const Histogram& part : parts) {
        merged.merge(part);
    }
    EXPECT_EQ(text(merged), text(all));
}

TEST(HistogramTest, jsonThatContradictsItselfIsNotRead)
{
    const std::string good = R"({"count":3,"max":0.0005,"histogram":[[7e-5,2],[0.000501,1]]})";
    EXPECT_TRUE(parsed(good));
    for (const auto& [part, instead] : std::vector<std::pair<std::string, std::string>>{
             {"\"count\":3", "\"count\":4"},
             {"\"count\":3", "\"count\":-3"},
             {"\"count\":3", "\"count\":\"3\""},
             {"\"count\":3", "\"counts\":3"},
             {"\"max\":0.0005", "\"max\":0.0009"},
             {"\"max\":0.0005", "\"max\":null"},
             {"\"max\":0.0005", "\"max\":1e300"},
             {"[7e-5,2]", "[7e-5,0]"},
             {"[7e-5,2]", "[7e-5,9007199254740993]"},
             {"[7e-5,2]", "[-7e-5,2]"},
             {"[7e-5,2]", "[7e-5]"},
             {"[7e-5,2]", "7e-5"},
             {"[7e-5,2]", "[0.000601,2]"},
             {"0.000501", "0.0005"},
             {"0.000501", "1e300"},
             {"\"histogram\":[", "\"histogram\":[[],"},
         }) {
        std::string bad = good;
        bad.replace(bad.find(part), part.size(), instead);
        EXPECT_FALSE(parsed(bad)) << bad;
    }
    EXPECT_FALSE(parsed("[]"));
    EXPECT_FALSE(Histogram::fromJson(nullptr));
}

#include "zuldevice/seededrandom.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

namespace {

TEST(SeededRandomTest, theNumbersNeverChange)
{
    cSeededRandom random(7, "script", 1);
    EXPECT_EQ(random.next(), 12825174378899988509U);
    EXPECT_EQ(random.next(), 645449201850557508U);
    EXPECT_EQ(random.next(), 1288643300250689480U);
}

TEST(SeededRandomTest, theSameKeyDrawsTheSame)
{
    cSeededRandom one(4294967295, "script", 1);
    cSeededRandom other(4294967295, "script", 1);
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(one.next(), other.next());
    }
}

TEST(SeededRandomTest, everyPartOfTheKeyCounts)
{
    std::set<uint64_t> drawn;
    size_t keys = 0;
    for (const uint64_t seed : {0ULL, 1ULL, 2ULL, 4294967295ULL}) {
        for (const char* purpose : {"", "a", "b", "ab", "ba", "script"}) {
            for (uint64_t number = 0; number < 100; ++number) {
                drawn.insert(cSeededRandom(seed, purpose, number).next());
                ++keys;
            }
        }
    }
    EXPECT_EQ(drawn.size(), keys);
}

TEST(SeededRandomTest, fractionsAreSpreadEvenly)
{
    constexpr int kBins = 10;
    constexpr int kDraws = 100000;
    int bins[kBins] = {};
    cSeededRandom random(1, "bins", 1);
    for (int i = 0; i < kDraws; ++i) {
        const double fraction = random.nextFraction();
        ASSERT_GE(fraction, 0.0);
        ASSERT_LT(fraction, 1.0);
        ++bins[static_cast<int>(fraction * kBins)];
    }
    for (const int count : bins) {
        EXPECT_NEAR(count, kDraws / kBins, 500);
    }
}

TEST(SeededRandomTest, aFractionHoldsTheUpperBits)
{
    cSeededRandom bits(5, "x", 2);
    cSeededRandom fractions(5, "x", 2);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(fractions.nextFraction(), std::ldexp(static_cast<double>(bits.next() >> 11), -53));
    }
}

} // namespace

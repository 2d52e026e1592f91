#include <gtest/gtest.h>

#include "server/sessions/ratepersecond.h"

using server::RatePerSecond;

TEST(RatePerSecondTest, theSecondThatLastsDoesNotCount)
{
    RatePerSecond rate(1000);
    rate.add(1000);
    rate.add(1999);
    EXPECT_EQ(rate.perSecond(1999), 0.0);
    EXPECT_EQ(rate.perSecond(2000), 2.0);
    rate.add(2500);
    EXPECT_EQ(rate.perSecond(2999), 2.0);
    EXPECT_EQ(rate.perSecond(3000), 1.5);
}

TEST(RatePerSecondTest, theLastFiveSecondsCount)
{
    RatePerSecond rate(0);
    for (int64_t nowMs = 0; nowMs < 10000; nowMs += 100) {
        rate.add(nowMs);
    }
    EXPECT_EQ(rate.perSecond(10000), 10.0);
    EXPECT_EQ(rate.perSecond(11500), 8.0);
    EXPECT_EQ(rate.perSecond(14999), 2.0);
    EXPECT_EQ(rate.perSecond(15000), 0.0);
}

TEST(RatePerSecondTest, aLongPauseLeavesNothing)
{
    RatePerSecond rate(0);
    rate.add(500);
    rate.add(3600000);
    EXPECT_EQ(rate.perSecond(3600999), 0.0);
    EXPECT_EQ(rate.perSecond(3601000), 0.2);
}

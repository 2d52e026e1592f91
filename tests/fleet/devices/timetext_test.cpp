#include "fleet/devices/timetext.h"

#include <gtest/gtest.h>

using fleet::parseTime;

TEST(TimeTextTest, timesAreMillisecondsSecondsOrMinutes)
{
    EXPECT_EQ(parseTime("250ms"), 250'000);
    EXPECT_EQ(parseTime("5s"), 5'000'000);
    EXPECT_EQ(parseTime("1.5s"), 1'500'000);
    EXPECT_EQ(parseTime("2m"), 120'000'000);
    EXPECT_EQ(parseTime("60"), 60'000'000);
    EXPECT_EQ(parseTime("1440m"), 86'400'000'000);
}

TEST(TimeTextTest, anythingElseIsNoTime)
{
    for (const char* text :
         {"", "s", "ms", "m", "0", "0s", "0.5ms", "-1s", "1h", "1 s", "nan", "inf", "1441m", "1e9s"}) {
        EXPECT_FALSE(parseTime(text)) << text;
    }
}

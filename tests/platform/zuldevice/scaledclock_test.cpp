#include "zuldevice/scaledclock.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

TEST(ScaledClockTest, timePassesAsOftenAsItIsScaled)
{
    const cScaledClock clock(1000.0);
    const auto before = cScaledClock::Real::now();
    const cScaledClock::Duration first = clock.elapsed();
    while (cScaledClock::Real::now() - before < 2ms) {
    }
    EXPECT_GE(clock.elapsed() - first, 1900ms);
    EXPECT_EQ(clock.realTime(5s) - clock.realTime(0s), 5ms);
}

TEST(ScaledClockTest, aSlowClockTakesLonger)
{
    const cScaledClock clock(0.1);
    EXPECT_EQ(clock.realTime(1s) - clock.realTime(0s), 10s);
}

TEST(ScaledClockTest, theTimeOfDayBeginsAtTheRealOne)
{
    const time_t before = time(nullptr);
    const cScaledClock clock(10'000.0);
    EXPECT_GE(clock.beginning(), before);
    EXPECT_LE(clock.beginning(), time(nullptr));
    while (clock.elapsed() < 2s) {
    }
    EXPECT_GE(clock.seconds(), clock.beginning() + 2);
}

#include <gtest/gtest.h>

#include "fleet/devices/busiestsecond.h"
#include "fleet/devices/connectgate.h"
#include "fleet/devices/schedule.h"

using namespace fleet;

TEST(ScheduleTest, stepsAreDueAtTheRateWhateverBecameOfThem)
{
    const Schedule schedule(7 * kSecond, 4.0);
    EXPECT_EQ(schedule.due(0), 7 * kSecond);
    EXPECT_EQ(schedule.due(1), 7 * kSecond + 250 * kMillisecond);
    EXPECT_EQ(schedule.due(4000), 1007 * kSecond);
}

TEST(ScheduleTest, aRateThatIsNoWholeNumberDoesNotDrift)
{
    EXPECT_EQ(Schedule(0, 3.0).due(3'000'000), 1'000'000 * kSecond);
}

TEST(BusiestSecondTest, countsWhatFallsIntoOneSecond)
{
    BusiestSecond second;
    EXPECT_EQ(second.most(), 0U);
    for (const int64_t at : {0L, 400'000L, 999'999L, 1'000'000L, 1'399'999L, 5'000'000L}) {
        second.add(at);
    }
    EXPECT_EQ(second.most(), 4U); // from 400000 to 1399999
}

namespace {

/// The most connections of a second if everyone wants to connect for ten seconds, and @p loop is how often
/// the loop looks.
uint64_t mostOf(double perSecond, int64_t loopUs)
{
    ConnectGate gate(perSecond);
    BusiestSecond second;
    for (int64_t now = 100 * kSecond; now < 110 * kSecond; now += loopUs) {
        while (gate.take(now)) {
            second.add(now);
        }
    }
    return second.most();
}

} // namespace

TEST(ConnectGateTest, noSecondSeesMoreThanTheRate)
{
    for (const double rate : {1.0, 7.0, 50.0, 1000.0, 3800.0}) {
        for (const int64_t loopUs : {100L, 1000L, 7000L, 19'000L, 50'000L, 500'000L}) {
            EXPECT_LE(static_cast<double>(mostOf(rate, loopUs)), rate) << rate << " " << loopUs;
        }
    }
}

TEST(ConnectGateTest, aPunctualLoopUsesNearlyTheWholeRate)
{
    EXPECT_GE(mostOf(3800.0, 1000), 3500U);
    EXPECT_GE(mostOf(50.0, 1000), 45U);
}

TEST(ConnectGateTest, othersGiveWayToPlannedConnections)
{
    ConnectGate gate(10.0);
    const int64_t now = 100 * kSecond;
    gate.noteOther(now);
    EXPECT_FALSE(gate.take(now));
    EXPECT_TRUE(gate.take(now + 200 * kMillisecond));
}

TEST(ConnectGateTest, plannedConnectionsKeepOthersOutForASecondAtMost)
{
    ConnectGate gate(10.0);
    const int64_t now = 100 * kSecond;
    for (int i = 0; i < 1000; ++i) {
        gate.noteOther(now);
    }
    EXPECT_TRUE(gate.take(now + kSecond));
}

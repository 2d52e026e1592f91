#include "fleet/devices/outage.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>

#include "fleet/devices/runningoutage.h"
#include "fleet/devices/steadytime.h"

using namespace fleet;

namespace {

OutageOrder orderOf(const std::string& text)
{
    OutageOrder order;
    EXPECT_EQ(parseOutage(text, &order), "") << text;
    return order;
}

} // namespace

TEST(OutageTest, stormsHaveABeginningAndALength)
{
    const OutageOrder order = orderOf("storm@60s:10s");
    EXPECT_EQ(order.kind, OutageOrder::Kind::STORM);
    EXPECT_EQ(order.timeUs, 60 * kSecond);
    EXPECT_EQ(order.lengthUs, 10 * kSecond);
    EXPECT_FALSE(order.reset);
    EXPECT_TRUE(orderOf("storm@1m:500ms:reset").reset);
}

TEST(OutageTest, theOthersHaveAShareAndAPause)
{
    const OutageOrder rolling = orderOf("rolling:20%/30s");
    EXPECT_EQ(rolling.kind, OutageOrder::Kind::ROLLING);
    EXPECT_DOUBLE_EQ(rolling.share, 0.2);
    EXPECT_EQ(rolling.timeUs, 30 * kSecond);
    const OutageOrder flap = orderOf("flap:1.5%:5s:reset");
    EXPECT_EQ(flap.kind, OutageOrder::Kind::FLAP);
    EXPECT_DOUBLE_EQ(flap.share, 0.015);
    EXPECT_EQ(flap.timeUs, 5 * kSecond);
    EXPECT_TRUE(flap.reset);
}

TEST(OutageTest, otherTextsAreMistakes)
{
    OutageOrder order;
    for (const char* text :
         {"", "storm", "storm@60s", "storm:60s:10s", "storm@60s:0s", "rolling:20%", "rolling:20/30s",
          "rolling:0%/30s", "rolling:101%/30s", "flap:1%/5s", "flap:1%:5x", "rain@1s:1s", "flap:1%:5s:end"}) {
        EXPECT_EQ(
            parseOutage(text, &order),
            "--outage is none of storm@TIME:TIME, rolling:SHARE%/TIME and flap:SHARE%:TIME, with :reset or "
            "without: \"" +
                std::string(text) + "\".");
    }
}

TEST(OutagePlanTest, aStormIsForEveryDeviceOnce)
{
    OutagePlan plan({orderOf("storm@60s:10s")}, 3, 1);
    EXPECT_EQ(plan.nextUs(), 60 * kSecond);
    EXPECT_EQ(plan.next().devices, (std::vector<uint32_t>{0, 1, 2}));
    EXPECT_EQ(plan.nextUs(), std::numeric_limits<int64_t>::max());
}

TEST(OutagePlanTest, aRollingOutageHitsEachDeviceOnceBeforeAnyTwice)
{
    OutagePlan plan({orderOf("rolling:20%/30s")}, 10, 1);
    std::set<uint32_t> hit;
    for (int step = 1; step <= 5; ++step) {
        EXPECT_EQ(plan.nextUs(), step * 30 * kSecond);
        const OutagePlan::Step next = plan.next();
        EXPECT_EQ(next.devices.size(), 2U);
        hit.insert(next.devices.begin(), next.devices.end());
    }
    EXPECT_EQ(hit.size(), 10U);
    EXPECT_EQ(plan.next().devices, (std::vector<uint32_t>{0, 1}));
}

TEST(OutagePlanTest, aFlapHitsTheSameShareEachTime)
{
    OutagePlan plan({orderOf("flap:10%:5s")}, 100, 1);
    const OutagePlan::Step first = plan.next();
    EXPECT_EQ(first.atUs, 5 * kSecond);
    EXPECT_EQ(std::set<uint32_t>(first.devices.begin(), first.devices.end()).size(), 10U);
    EXPECT_EQ(plan.next().devices, first.devices);
    EXPECT_EQ(OutagePlan({orderOf("flap:10%:5s")}, 100, 1).next().devices, first.devices);
    EXPECT_NE(OutagePlan({orderOf("flap:10%:5s")}, 100, 2).next().devices, first.devices);
}

TEST(OutagePlanTest, aSmallShareIsOneDeviceAtLeast)
{
    EXPECT_EQ(OutagePlan({orderOf("flap:1%:5s")}, 3, 1).next().devices.size(), 1U);
    EXPECT_EQ(OutagePlan({orderOf("rolling:1%/5s")}, 3, 1).next().devices.size(), 1U);
}

TEST(OutagePlanTest, severalOutagesComeInTheirOrder)
{
    OutagePlan plan({orderOf("storm@12s:1s"), orderOf("flap:1%:5s")}, 10, 1);
    std::vector<int64_t> times;
    for (int step = 0; step < 4; ++step) {
        times.push_back(plan.next().atUs / kSecond);
    }
    EXPECT_EQ(times, (std::vector<int64_t>{5, 10, 12, 15}));
}

TEST(RunningOutageTest, lastsUntilTheLastDeviceIsBack)
{
    RunningOutage outage(OutageOrder::Kind::FLAP, 5 * kSecond, 100 * kSecond);
    outage.add(3);
    outage.add(4);
    outage.connectBegun(101 * kSecond);
    outage.connectBegun(101 * kSecond + 1);
    outage.identified(4, 102 * kSecond);
    outage.identified(9, 103 * kSecond);
    EXPECT_FALSE(outage.report().secondsUntilBack);
    outage.identified(3, 104 * kSecond);
    outage.connectBegun(104 * kSecond);
    const Outage report = outage.report();
    EXPECT_EQ(report.kind, "flap");
    EXPECT_EQ(report.at, 5.0);
    EXPECT_EQ(report.devices, 2U);
    EXPECT_EQ(report.secondsUntilBack, 4.0);
    EXPECT_EQ(report.mostConnects, 2U);
}

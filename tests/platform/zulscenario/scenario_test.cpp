#include "zulscenario/scenario.h"

#include <gtest/gtest.h>

namespace {

using namespace zulscenario;
using namespace std::chrono_literals;

TEST(ScenarioTest, TextsNameEventSerialAndDevice)
{
    const TextValues values{.event = 7, .serial = 1001, .device = 3};
    EXPECT_EQ(fillText("Smoke {n} of {serial}, {device}", values), "Smoke 7 of 1001, 3");
    EXPECT_EQ(fillText("{n}{n}", values), "77");
    EXPECT_EQ(fillText("", values), "");
}

TEST(ScenarioTest, TwoBracesAreOne)
{
    EXPECT_EQ(fillText("{{n}", {.event = 7}), "{n}");
    EXPECT_EQ(fillText("{{{n}}", {.event = 7}), "{7}");
}

TEST(ScenarioTest, AStepThatDependsOnAPortIsEndless)
{
    EXPECT_TRUE(isEndless({.trigger = When{}, .action = Toggle{}}));
    EXPECT_FALSE(isEndless({.trigger = At{}, .action = Toggle{}}));
}

TEST(ScenarioTest, ARepeatedStepEndsByUntil)
{
    EXPECT_TRUE(isEndless({.trigger = Every{.interval = 1s}, .action = Toggle{}}));
    EXPECT_FALSE(isEndless({.trigger = Every{.interval = 1s, .until = 1min}, .action = Toggle{}}));
}

TEST(ScenarioTest, AWaveEndsByItsDuration)
{
    EXPECT_TRUE(isEndless({.trigger = At{}, .action = Wave{}}));
    EXPECT_FALSE(isEndless({.trigger = At{}, .action = Wave{}, .duration = 1min}));
}

TEST(ScenarioTest, ALoopedTableIsEndless)
{
    EXPECT_TRUE(isEndless({.trigger = At{}, .action = Play{.loop = true}}));
    EXPECT_FALSE(isEndless({.trigger = At{}, .action = Play{.loop = false}}));
}

} // namespace

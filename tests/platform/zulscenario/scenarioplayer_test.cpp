#include "zulscenario/scenarioplayer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "playback.h"

using namespace zulscenario;
using namespace std::chrono_literals;

namespace {

constexpr Port kDin1{OBJ_PORT_DIN, 1};
constexpr Port kDin2{OBJ_PORT_DIN, 2};
constexpr Port kDin3{OBJ_PORT_DIN, 3};
constexpr Port kDout1{OBJ_PORT_DOUT, 1};
constexpr Port kAin1{OBJ_PORT_AIN, 1};
constexpr Port kAin2{OBJ_PORT_AIN, 2};

Scenario scenarioOf(std::deque<Step> steps)
{
    Scenario scenario;
    scenario.name = "test";
    scenario.steps = std::move(steps);
    return scenario;
}

Step at(Time time, Action action, std::optional<Time> duration = std::nullopt)
{
    return {At{time}, std::move(action), duration, 0};
}

Step every(Every trigger, Action action) { return {trigger, std::move(action), std::nullopt, 0}; }

Step when(When trigger, Action action) { return {std::move(trigger), std::move(action), std::nullopt, 0}; }

Set set(Port port, double value) { return {{{port, value}}}; }

Scan scan(const std::string& code) { return {1, code}; }

Sensor sensor(Port port, Sensor::eFault kind, double amount = 0.0) { return {{{port, kind, amount}}}; }

Expect expectOutput(bool high, Time within)
{
    return {{{kDout1, high ? 1.0 : 0.0, high ? 1.0 : 0.0}}, within};
}

When whenOutput(bool high, Time after = {})
{
    return {{{kDout1, high ? 1.0 : 0.0, high ? 1.0 : 0.0}}, after};
}

std::shared_ptr<const Table> table(std::vector<Table::Column> columns, std::vector<Time> times,
                                   std::vector<float> values)
{
    return std::make_shared<const Table>(Table{std::move(columns), std::move(times), std::move(values)});
}

constexpr float kEmpty = std::numeric_limits<float>::quiet_NaN();

/// What happens at a device in @p seconds.
std::string logOf(Scenario scenario, Time time = 1h)
{
    return Playback().add(std::move(scenario)).run(time).device.log;
}

} // namespace

TEST(ScenarioPlayerTest, eachActionIsDoneAsItIsWritten)
{
    struct Row
    {
        const char* shows;
        std::deque<Step> steps;
        const char* log;
    };
    const Wave wave{{{kAin2, 40.0, 30.0}}, 4s, 1s, Wave::eShape::SINE};
    const auto waveOf = [&wave](Wave::eShape shape) {
        Wave other = wave;
        other.shape = shape;
        return other;
    };
    const Row rows[] = {
        {"steps are done at their times",
         {at(500ms, set(kDin1, 1)), at(0s, scan("4711-ANNA"))},
         "0.0 scan 1 4711-ANNA; 0.5 din 1 high"},
        {"steps of one moment are done in the order of the file",
         {at(2s, scan("A")), at(1s, scan("B")), at(2s, scan("C")), at(1s, scan("D"))},
         "1.0 scan 1 B; 1.0 scan 1 D; 2.0 scan 1 A; 2.0 scan 1 C"},
        {"several inputs are set at once",
         {at(1s, Set{{{kDin1, 1}, {kAin1, 50}}})},
         "1.0 din 1 high; 1.0 ain 1 50"},
        {"after its time an input is what it was",
         {at(0s, set(kAin1, 5)), at(500ms, Set{{{kDin1, 1}, {kAin1, 60}}}, 3s)},
         "0.0 ain 1 5; 0.5 din 1 high; 0.5 ain 1 60; 3.5 din 1 low; 3.5 ain 1 5"},
        {"a slider's value is rounded and held to 0 to 100",
         {at(1s, set(kAin1, 20.5)), at(2s, set(kAin1, 300)), at(3s, set(kAin1, -7))},
         "1.0 ain 1 21; 2.0 ain 1 100; 3.0 ain 1 0"},
        {"toggling changes an input over",
         {at(1s, Toggle{kDin3}), at(2s, Toggle{kDin3}), at(3s, Toggle{kDin3}, 500ms)},
         "1.0 din 3 high; 2.0 din 3 low; 3.0 din 3 high; 3.5 din 3 low"},
        {"a repeated step begins after one interval and ends before its last time",
         {every({10s, 0s, 40s}, Toggle{kDin3})},
         "10.0 din 3 high; 20.0 din 3 low; 30.0 din 3 high"},
        {"events are numbered in their step",
         {every({1s, 0s, 4s}, scan("A{n}")), at(2s, scan("B{n}"))},
         "1.0 scan 1 A1; 2.0 scan 1 A2; 2.0 scan 1 B1; 3.0 scan 1 A3"},
        {"a ramp's first value is its start and its last its end",
         {at(1s, Ramp{{{kAin1, 20, 85}}, 2500ms, 1s})},
         "1.0 ain 1 20; 2.0 ain 1 46; 3.0 ain 1 72; 3.5 ain 1 85"},
        {"a ramp without a length jumps", {at(1s, Ramp{{{kAin1, 20, 85}}, 0s, 1s})}, "1.0 ain 1 85"},
        {"a sine swings around its middle",
         {at(0s, wave, 5s)},
         "0.0 ain 2 40; 1.0 ain 2 70; 2.0 ain 2 40; 3.0 ain 2 10; 4.0 ain 2 40"},
        {"a square is high and then low",
         {at(0s, waveOf(Wave::eShape::SQUARE), 5s)},
         "0.0 ain 2 70; 1.0 ain 2 70; 2.0 ain 2 10; 3.0 ain 2 10; 4.0 ain 2 70"},
        {"a triangle begins in its middle and goes up",
         {at(0s, waveOf(Wave::eShape::TRIANGLE), 5s)},
         "0.0 ain 2 40; 1.0 ain 2 70; 2.0 ain 2 40; 3.0 ain 2 10; 4.0 ain 2 40"},
        {"a flood keeps its rate and numbers its events",
         {at(1s, Flood{Adhoc{3, "Smoke {n}", "zone {n}"}, 3, 50.0})},
         "1.0 adhoc 3 Smoke 1 zone 1; 1.02 adhoc 3 Smoke 2 zone 2; 1.04 adhoc 3 Smoke 3 zone 3"},
        {"a flood may be one of scans",
         {at(1s, Flood{Scan{2, "{n}"}, 2, 1.0})},
         "1.0 scan 2 1; 2.0 scan 2 2"},
        {"a text names the device and may hold a brace",
         {at(1s, Adhoc{7, "{serial} {device}", "{{n}"})},
         "1.0 adhoc 7 1 0 {n}"},
        {"the link goes down and up",
         {at(1s, Link{false}), at(2s, Link{true})},
         "1.0 link down; 2.0 link up"},
        {"a table's columns hold their values",
         {at(1s, Play{table({{kDin1}, {kAin1}}, {0s, 2s, 3s}, {1, 20, kEmpty, 30, 0, kEmpty}), false, 1s})},
         "1.0 din 1 high; 1.0 ain 1 20; 3.0 ain 1 30; 4.0 din 1 low"},
        {"the values of a linear column lie on a line",
         {at(0s, Play{table({{kAin1, true}, {kDin1}}, {1s, 2s, 4s}, {10, 1, kEmpty, 0, 40, 0}), false, 1s})},
         "1.0 ain 1 10; 1.0 din 1 high; 2.0 ain 1 20; 2.0 din 1 low; 3.0 ain 1 30; 4.0 ain 1 40"},
        {"a stuck contact is what it was, and afterwards what it would have been",
         {at(0s, sensor(kDin1, Sensor::eFault::STUCK), 10s), at(1s, set(kDin1, 1))},
         "10.0 din 1 high"},
        {"a contact that chatters ends as it was",
         {at(0s, set(kDin1, 1)), at(1s, sensor(kDin1, Sensor::eFault::CHATTER, 2), 2s)},
         "0.0 din 1 high; 1.5 din 1 low; 2.0 din 1 high; 2.5 din 1 low; 3.0 din 1 high"},
        {"a fault takes the place of another one",
         {at(0s, sensor(kDin1, Sensor::eFault::CHATTER, 1)), at(1500ms, sensor(kDin1, Sensor::eFault::STUCK)),
          at(3s, set(kDin1, 1))},
         "1.0 din 1 high; 1.5 din 1 low"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(logOf(scenarioOf(row.steps)), row.log) << row.shows;
    }
}

TEST(ScenarioPlayerTest, theStartMakesNoEventsAndIsAppliedOnce)
{
    Scenario scenario = scenarioOf({at(1s, Toggle{kDin1}), at(2s, set(kDin2, 0))});
    scenario.start = {{kDin1, 1}, {kDin2, 1}, {kAin1, 20}};
    scenario.repeat = 2;
    Playback playback;
    playback.add(scenario);
    EXPECT_EQ(playback.device.log, "");
    EXPECT_EQ(playback.device.read(kAin1), 20.0);
    EXPECT_EQ(playback.run(1h).device.log, "1.0 din 1 low; 2.0 din 2 low; 3.0 din 1 high");
}

TEST(ScenarioPlayerTest, filesArePlayedInTheirOrder)
{
    Playback playback;
    playback.add(scenarioOf({at(1s, scan("A")), at(2s, scan("B"))})).add(scenarioOf({at(1s, scan("C"))}));
    EXPECT_EQ(playback.run(1h).device.log, "1.0 scan 1 A; 1.0 scan 1 C; 2.0 scan 1 B");
}

TEST(ScenarioPlayerTest, jitterIsDrawnAroundTheGrid)
{
    Playback playback;
    playback.add(scenarioOf({every({10s, 2s, 1h}, scan("A"))})).run(2h);
    ASSERT_EQ(playback.device.times.size(), 359U);
    Time earliest = 2s;
    Time latest = -2s;
    for (size_t i = 0; i < playback.device.times.size(); ++i) {
        const Time off = playback.device.times[i] - 10s * (i + 1);
        earliest = std::min(earliest, off);
        latest = std::max(latest, off);
    }
    EXPECT_GE(earliest, -2s);
    EXPECT_LT(earliest, -1s);
    EXPECT_LE(latest, 2s);
    EXPECT_GT(latest, 1s);
}

TEST(ScenarioPlayerTest, jitterAsLongAsTheIntervalKeepsTheOrderOfTime)
{
    Playback playback;
    playback.add(scenarioOf({every({10s, 10s, 1000s}, scan("A"))})).run(2h);
    EXPECT_TRUE(std::ranges::is_sorted(playback.device.times));
    EXPECT_LT(playback.device.times.back(), 1000s);
    EXPECT_GT(playback.device.times.size(), 90U);
}

TEST(ScenarioPlayerTest, drawsFollowFromTheSeedAndTheSerialNumber)
{
    const Scenario scenario = scenarioOf({every({10s, 2s, 100s}, scan("{serial}")),
                                          at(0s, Wave{{{kAin1, 50, 50}}, 60s, 1s, Wave::eShape::WALK}, 90s)});
    const auto log = [&scenario](uint32_t seed, uint32_t serial) {
        Playback playback(serial);
        return playback.add(scenario, seed).run(1h).device.times;
    };
    EXPECT_EQ(log(7, 1), log(7, 1));
    EXPECT_NE(log(7, 1), log(8, 1));
    EXPECT_NE(log(7, 1), log(7, 2));
}

TEST(ScenarioPlayerTest, whatADeviceDrawsDoesNotDependOnOtherScenarios)
{
    const Scenario walk = scenarioOf({at(0s, Wave{{{kAin1, 50, 50}}, 60s, 1s, Wave::eShape::WALK}, 60s)});
    Playback alone;
    alone.add(walk).run(1h);
    Scenario other = scenarioOf({every({1s, 500ms, 60s}, Toggle{kDin1})});
    other.name = "other";
    Playback both;
    both.add(walk).add(other).run(1h);
    EXPECT_EQ(alone.device.values, both.device.values);
}

TEST(ScenarioPlayerTest, aWalkStaysInItsSwingAndMovesALittleAtATime)
{
    Playback playback;
    playback.add(scenarioOf({at(0s, Wave{{{kAin1, 50, 30}}, 60s, 1s, Wave::eShape::WALK}, 1h)})).run(2h);
    const std::vector<int>& values = playback.device.values;
    ASSERT_EQ(values.size(), 3600U);
    EXPECT_EQ(values.front(), 50);
    EXPECT_LT(std::ranges::min(values), 25);
    EXPECT_GT(std::ranges::max(values), 75);
    for (size_t i = 1; i < values.size(); ++i) {
        EXPECT_GE(values[i], 20);
        EXPECT_LE(values[i], 80);
        EXPECT_LE(std::abs(values[i] - values[i - 1]), 3);
    }
}

TEST(ScenarioPlayerTest, aDayAtAThousandTimesTheSpeedGivesTheSameEventsAsAtSixty)
{
    Scenario day = scenarioOf(
        {every({10s, 2s, 24h}, Toggle{kDin1}), every({1h, 30min, 24h}, scan("{n}")),
         at(1h, Ramp{{{kAin1, 20, 85}}, 2h, 10s}), at(2min, sensor(kDin2, Sensor::eFault::CHATTER, 5), 10min),
         at(4h, Wave{{{kAin2, 40, 30}}, 2h, 90s, Wave::eShape::WALK}, 12h),
         at(5h, sensor(kAin1, Sensor::eFault::NOISE, 3), 10h),
         at(5h, sensor(kAin2, Sensor::eFault::SPIKE, 9), 3h),
         at(16h, sensor(kAin1, Sensor::eFault::DRIFT, 0.5), 8h),
         at(14h, Flood{Adhoc{3, "a {n}", ""}, 500, 50.0}), when({{{kAin2, 60, 70}}, 300ms}, set(kDin3, 1)),
         when({{{kAin2, 10, 20}}, 300ms}, set(kDin3, 0)), at(24h, set(kDin2, 1))});
    day.start = {{kDin1, 1}, {kAin1, 20}};
    // The programs' timers have a resolution of 1 ms.
    const auto eventsAt = [&day](int64_t timeScale) {
        Playback playback;
        playback.resolution = timeScale * 1ms;
        playback.device.sampleAt = 60s;
        playback.device.sampleEvery = 60s;
        playback.device.measured = [&playback](uint32_t port, int value) {
            return ' ' +
                   std::to_string(playback.player.measure(port, static_cast<float>(value), playback.now));
        };
        playback.add(day).run(24h);
        for (const ScenarioPlayer::Done& step : playback.steps) {
            EXPECT_LT(step.actual - step.planned, playback.resolution);
        }
        return playback.device.events;
    };
    const std::vector<std::string> events = eventsAt(60);
    EXPECT_GT(events.size(), 12000U);
    EXPECT_TRUE(events == eventsAt(1000));
}

TEST(ScenarioPlayerTest, aConditionIsMetWheneverItBeginsToHold)
{
    Playback playback;
    playback.add(scenarioOf({when(whenOutput(true, 300ms), scan("{n}"))})).run(1s);
    playback.serverSets(true);
    playback.serverSets(true); // nothing begins
    playback.run(2s).serverSets(false);
    playback.run(3s).serverSets(true);
    EXPECT_EQ(playback.run(1h).device.log, "1.3 scan 1 1; 3.3 scan 1 2");
    EXPECT_FALSE(playback.player.isDone());
}

TEST(ScenarioPlayerTest, whatHoldsAtTheStartDoesNotBeginToHold)
{
    Scenario scenario = scenarioOf({when({{{kDin1, 1, 1}}, 0s}, scan("A")), at(1s, set(kDin2, 1))});
    scenario.start = {{kDin1, 1}};
    EXPECT_EQ(logOf(scenario), "1.0 din 2 high");
}

TEST(ScenarioPlayerTest, aConditionMayBeAboutWhatTheScenarioSets)
{
    EXPECT_EQ(logOf(scenarioOf({at(1s, set(kAin1, 90)), when({{{kAin1, 80, 100}}, 500ms}, set(kDin1, 1))})),
              "1.0 ain 1 90; 1.5 din 1 high");
}

TEST(ScenarioPlayerTest, allOfAConditionHasToHold)
{
    EXPECT_EQ(logOf(scenarioOf({when({{{kDin1, 1, 1}, {kDin2, 1, 1}}, 0s}, scan("both")),
                                at(1s, set(kDin1, 1)), at(2s, set(kDin2, 1))})),
              "1.0 din 1 high; 2.0 din 2 high; 2.0 scan 1 both");
}

TEST(ScenarioPlayerTest, anExpectationIsMetInTime)
{
    Playback playback;
    playback.add(scenarioOf({at(1s, expectOutput(true, 5s))})).run(5s).serverSets(true);
    EXPECT_TRUE(playback.player.isDone());
    playback.run(1h);
    EXPECT_EQ(playback.player.outcome(0, 0).met, 1U);
    EXPECT_EQ(playback.player.outcome(0, 0).missed, 0U);
    EXPECT_TRUE(playback.missed.empty());
}

TEST(ScenarioPlayerTest, anExpectationIsMetByWhatIsThereAlready)
{
    Playback playback;
    playback.serverSets(true);
    playback.add(scenarioOf({at(1s, expectOutput(true, 5s))})).run(1s);
    EXPECT_EQ(playback.player.outcome(0, 0).met, 1U);
}

TEST(ScenarioPlayerTest, anExpectationIsMissedWhenItsTimeIsOver)
{
    Playback playback;
    Scenario scenario = scenarioOf({at(1s, expectOutput(true, 5s))});
    scenario.steps[0].line = 34;
    playback.add(scenario).run(5999ms);
    EXPECT_FALSE(playback.player.isDone());
    playback.run(6s).serverSets(true);
    EXPECT_TRUE(playback.player.isDone());
    EXPECT_EQ(playback.player.outcome(0, 0).missed, 1U);
    EXPECT_EQ(playback.missed,
              std::vector<std::string>{"line 34 expects dout 1 high within 5 s: dout 1 is low"});
}

TEST(ScenarioPlayerTest, anExpectationMayBeOfACondition)
{
    Playback playback;
    playback.add(scenarioOf({when(whenOutput(true), expectOutput(false, 2s))})).run(1s).serverSets(true);
    playback.run(2s).serverSets(false);
    EXPECT_EQ(playback.player.outcome(0, 0).met, 1U);
}

TEST(ScenarioPlayerTest, aScenarioIsDoneWhenItsLastTimedStepIs)
{
    const auto isDoneAt = [](Time time, Step step) {
        return Playback().add(scenarioOf({std::move(step)})).run(time).player.isDone();
    };
    struct Row
    {
        Step step;
        Time done;
    };
    const Row rows[] = {
        {at(5s, scan("A")), 5s},
        {at(5s, set(kDin1, 1), 3s), 8s},
        {at(5s, Ramp{{{kAin1, 0, 100}}, 30s, 1s}), 35s},
        {at(5s, Wave{{{kAin1, 50, 50}}, 30s, 1s}, 10s), 15s},
        {at(5s, sensor(kAin1, Sensor::eFault::STUCK), 2min), 125s},
        {at(5s, sensor(kDin1, Sensor::eFault::CHATTER, 5)), 5s},
        {at(5s, Flood{Scan{1, ""}, 11, 1.0}), 15s},
        {every({10s, 0s, 35s}, scan("A")), 30s},
    };
    for (const Row& row : rows) {
        EXPECT_FALSE(isDoneAt(row.done - 1us, row.step)) << row.done.count();
        EXPECT_TRUE(isDoneAt(row.done, row.step)) << row.done.count();
    }
    const Step endless[] = {every({10s, 0s, std::nullopt}, scan("A")), when(whenOutput(true), scan("A")),
                            at(0s, Wave{{{kAin1, 50, 50}}, 30s, 1s})};
    for (const Step& step : endless) {
        EXPECT_TRUE(isEndless(step));
        EXPECT_FALSE(isDoneAt(1h, step));
    }
}

TEST(ScenarioPlayerTest, nothingIsDoneBehindTheEndIfThePlayerStopsThen)
{
    Playback playback;
    playback.player.stopWhenDone();
    playback.device.sampleAt = 1s;
    playback.device.sampleEvery = 1s;
    playback.add(scenarioOf({at(0s, sensor(kDin1, Sensor::eFault::CHATTER, 1)), at(2s, scan("A"))}));
    playback.comeLateAt(1h);
    EXPECT_EQ(playback.device.events,
              (std::vector<std::string>{"din 1 high", "sample", "din 1 low", "scan 1 A"}));
    EXPECT_FALSE(playback.player.next());
}

TEST(ScenarioPlayerTest, aRoundBeginsWhenTheOneBeforeIsDone)
{
    Scenario scenario = scenarioOf({at(1s, scan("{n}")), at(2s, set(kDin1, 1), 3s)});
    scenario.repeat = 3;
    Playback playback;
    EXPECT_EQ(playback.add(scenario).run(1h).device.log,
              "1.0 scan 1 1; 2.0 din 1 high; 5.0 din 1 low; 6.0 scan 1 2; 7.0 din 1 high; 10.0 din 1 low; "
              "11.0 scan 1 3; 12.0 din 1 high; 15.0 din 1 low");
    EXPECT_TRUE(playback.player.isDone());
    EXPECT_EQ(playback.player.counts().done, 6U);
}

TEST(ScenarioPlayerTest, aScenarioMayBeRepeatedForEver)
{
    Scenario scenario = scenarioOf({at(10s, scan("A"))});
    scenario.repeat = std::nullopt;
    Playback playback;
    playback.add(scenario).run(24h);
    EXPECT_EQ(playback.device.times.size(), 8640U);
    EXPECT_FALSE(playback.player.isDone());
}

TEST(ScenarioPlayerTest, aTableMayBePlayedAgainAndAgain)
{
    const auto day = table({{kAin1}}, {0s, 1s, 3s}, {10, 20, 30});
    EXPECT_EQ(
        logOf(scenarioOf({at(1s, Play{day, true, 1s})}), 7s),
        "1.0 ain 1 10; 2.0 ain 1 20; 4.0 ain 1 30; 4.0 ain 1 10; 5.0 ain 1 20; 7.0 ain 1 30; 7.0 ain 1 10");
}

TEST(ScenarioPlayerTest, aFaultyAnalogSensorTellsSomethingElse)
{
    using eFault = Sensor::eFault;
    const auto tells = [](eFault kind, double amount) {
        Playback playback;
        playback.add(scenarioOf({at(0s, set(kAin1, 50)), at(0s, sensor(kAin1, kind, amount), 2min)}))
            .run(90s);
        std::vector<float> samples;
        samples.reserve(200);
        for (int i = 0; i < 200; ++i) {
            samples.push_back(playback.player.measure(1, 80.0F, playback.now));
        }
        EXPECT_EQ(playback.player.measure(2, 80.0F, playback.now), 80.0F);
        playback.run(2min);
        EXPECT_EQ(playback.player.measure(1, 80.0F, playback.now), 80.0F);
        return samples;
    };
    EXPECT_EQ(tells(eFault::STUCK, 0).front(), 50.0F);
    EXPECT_EQ(tells(eFault::DRIFT, 4).front(), 86.0F);
    EXPECT_EQ(tells(eFault::DRIFT, -200).front(), -220.0F);
    EXPECT_TRUE(std::isnan(tells(eFault::NOT_A_NUMBER, 0).front()));
    const std::vector<float> noise = tells(eFault::NOISE, 5);
    EXPECT_GE(std::ranges::min(noise), 75.0F);
    EXPECT_LT(std::ranges::min(noise), 76.0F);
    EXPECT_LE(std::ranges::max(noise), 85.0F);
    EXPECT_GT(std::ranges::max(noise), 84.0F);
    const std::vector<float> spikes = tells(eFault::SPIKE, 300);
    EXPECT_EQ(std::ranges::count(spikes, 80.0F) + std::ranges::count(spikes, 380.0F), 200);
    EXPECT_NEAR(static_cast<double>(std::ranges::count(spikes, 380.0F)), 20.0, 12.0);
}

TEST(ScenarioPlayerTest, spreadDrawsALaterStartForEachDevice)
{
    Scenario scenario = scenarioOf({at(1s, scan("A"))});
    scenario.spread = 60s;
    std::vector<Time> starts;
    for (uint32_t serial = 1; serial <= 100; ++serial) {
        Playback playback(serial);
        starts.push_back(playback.add(scenario, 7, true).run(1h).device.times.front());
        EXPECT_EQ(playback.steps.front().planned, 1s);
    }
    EXPECT_LT(std::ranges::min(starts), 6s);
    EXPECT_GT(std::ranges::max(starts), 56s);
    EXPECT_LE(std::ranges::max(starts), 61s);
}

TEST(ScenarioPlayerTest, everyStepThatWasDoneIsTold)
{
    Playback playback;
    playback.add(scenarioOf({at(1s, set(kDin1, 1)), every({2s, 0s, 5s}, scan("A"))})).run(1h);
    ASSERT_EQ(playback.steps.size(), 3U);
    EXPECT_EQ(playback.steps[1].timetable.scenario().name, "test");
    EXPECT_EQ(playback.steps[1].step, 1U);
    EXPECT_EQ(playback.steps[1].planned, 2s);
    EXPECT_EQ(playback.steps[1].actual, 2s);
    EXPECT_EQ(playback.player.counts().done, 3U);
    EXPECT_EQ(playback.player.counts().late, 0U);
}

TEST(ScenarioPlayerTest, aStepThatComesLateIsCountedAndShiftsNothing)
{
    Playback playback;
    playback.add(scenarioOf({at(1s, set(kDin1, 1), 2s), at(2s, scan("A")), at(5s, scan("B"))}));
    playback.comeLateAt(2s + 10ms);
    EXPECT_EQ(playback.player.counts().late, 1U);
    EXPECT_EQ(playback.steps[0].planned, 1s);
    EXPECT_EQ(playback.steps[0].actual, 2s + 10ms);
    playback.run(1h);
    EXPECT_EQ(playback.player.counts().late, 1U);
    EXPECT_EQ(playback.device.log, "2.01 din 1 high; 2.01 scan 1 A; 3.0 din 1 low; 5.0 scan 1 B");
}

TEST(ScenarioPlayerTest, aStepIsCountedAsLateOnce)
{
    Playback playback;
    playback.add(scenarioOf({at(1s, Flood{Scan{1, ""}, 500, 50.0})}));
    playback.comeLateAt(1h);
    EXPECT_EQ(playback.device.times.size(), 500U);
    EXPECT_EQ(playback.player.counts().done, 1U);
    EXPECT_EQ(playback.player.counts().late, 1U);
}

TEST(ScenarioPlayerTest, nothingShiftsInADay)
{
    const auto timesOf = [](Time resolution) {
        Playback playback;
        playback.add(
            scenarioOf({every({7s, 0s, 24h}, scan("A")), at(0s, Wave{{{kAin1, 50, 50}}, 60s, 700ms}, 24h)}));
        while (!playback.player.isDone()) {
            // A timer is late by up to its resolution.
            const Time next = *playback.player.next();
            playback.now = (next / resolution + (next % resolution > 0us ? 1 : 0)) * resolution;
            while (playback.player.advance(playback.now)) {
            }
        }
        EXPECT_EQ(playback.player.counts().late, 0U);
        for (const auto& step : playback.steps) {
            EXPECT_LT(step.actual - step.planned, resolution);
        }
        return playback.device.times;
    };
    const auto exact = timesOf(1us);
    const auto coarse = timesOf(9ms);
    ASSERT_EQ(exact.size(), 12'342U + 123'429U);
    ASSERT_EQ(coarse.size(), exact.size());
    for (size_t i = 0; i < exact.size(); ++i) {
        EXPECT_LT(coarse[i] - exact[i], 9ms);
    }
}

TEST(ScenarioPlayerTest, samplesAndStepsAreDoneInTheOrderOfTheirTimes)
{
    Playback playback;
    playback.device.sampleAt = 2s;
    playback.device.sampleEvery = 2s;
    playback.add(scenarioOf({every({1s, 0s, 5s}, scan("{n}"))}));
    playback.comeLateAt(5s);
    EXPECT_EQ(playback.device.log,
              "5.0 scan 1 1; 5.0 scan 1 2; 5.0 sample; 5.0 scan 1 3; 5.0 scan 1 4; 5.0 sample");
}

TEST(ScenarioPlayerTest, noSampleIsTakenForATimeThatIsOver)
{
    Playback playback;
    playback.device.sampleEvery = 10s;
    playback.add(scenarioOf({at(100s, scan("A"))})).run(100s);
    playback.device.sampleAt = 60s; // the server has set a shorter rate
    playback.run(111s);
    EXPECT_EQ(playback.device.log, "100.0 scan 1 A; 100.0 sample; 110.0 sample");
}

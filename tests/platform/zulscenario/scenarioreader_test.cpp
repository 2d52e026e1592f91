#include "zulscenario/scenarioreader.h"

#include <gtest/gtest.h>
#include <map>
#include <string>

namespace {

using namespace zulscenario;
using namespace std::chrono_literals;

constexpr zuldevice::Counts kReadCounts{8, 4, 4, 4, 2};

/// A folder of files.
struct Files
{
    std::map<std::string, std::string> contents;

    std::string read(const std::string& path, std::string* content) const
    {
        const auto found = contents.find(path);
        *content = found == contents.end() ? "" : found->second;
        return found == contents.end() ? "There is no " + path + "." : "";
    }

    std::string mistake(Scenario* scenario) const
    {
        return readScenario("site/day.yaml", kReadCounts, scenario,
                            [this](const auto& path, auto* content) { return read(path, content); });
    }
};

Scenario readText(const std::string& text)
{
    Scenario scenario;
    const Files files{{{"site/day.yaml", text}}};
    EXPECT_EQ(files.mistake(&scenario), "");
    return scenario;
}

/// The one step of a scenario.
Step readStepText(const std::string& step)
{
    Scenario scenario = readText("steps:\n  - {" + step + "}\n");
    return scenario.steps.empty() ? Step() : scenario.steps[0];
}

template <class Kind>
Kind readAction(const std::string& action)
{
    const Step step = readStepText("at: 1s, " + action);
    const Kind* kind = std::get_if<Kind>(&step.action);
    EXPECT_NE(kind, nullptr) << action;
    return kind == nullptr ? Kind() : *kind;
}

constexpr Port kReadDin{OBJ_PORT_DIN, 1};
constexpr Port kReadAin{OBJ_PORT_AIN, 1};

TEST(ScenarioReaderTest, TheHeadOfAScenarioIsRead)
{
    const Scenario scenario = readText("scenario: A morning\nseed: 7\nspread: 60s\n"
                                       "start: {din 1: high, ain 1: 20.5}\nrepeat: 3\n"
                                       "steps: [{at: 1s, toggle: din 1}]\n");
    EXPECT_EQ(scenario.name, "A morning");
    EXPECT_EQ(scenario.seed, 7U);
    EXPECT_EQ(scenario.spread, 60s);
    ASSERT_EQ(scenario.start.size(), 2U);
    EXPECT_EQ(scenario.start[0].port, kReadDin);
    EXPECT_EQ(scenario.start[0].value, 1.0);
    EXPECT_EQ(scenario.start[1].port, kReadAin);
    EXPECT_EQ(scenario.start[1].value, 20.5);
    EXPECT_EQ(scenario.repeat, 3U);
}

TEST(ScenarioReaderTest, AScenarioIsNamedByItsFileAndPlayedOnceUnlessItSaysOtherwise)
{
    const Scenario scenario = readText("steps: [{at: 1s, toggle: din 1}]\n");
    EXPECT_EQ(scenario.name, "day");
    EXPECT_FALSE(scenario.seed);
    EXPECT_EQ(scenario.spread, 0s);
    EXPECT_EQ(scenario.repeat, 1U);
    EXPECT_FALSE(readText("repeat: forever\nsteps: [{at: 1s, toggle: din 1}]\n").repeat);
}

TEST(ScenarioReaderTest, StepsKeepTheirOrderAndTheirLines)
{
    const Scenario scenario = readText("steps:\n  - at: 2s\n    toggle: din 1\n  - {at: 1s, link: up}\n");
    ASSERT_EQ(scenario.steps.size(), 2U);
    EXPECT_TRUE(std::holds_alternative<Toggle>(scenario.steps[0].action));
    EXPECT_EQ(scenario.steps[0].line, 2U);
    EXPECT_TRUE(std::holds_alternative<Link>(scenario.steps[1].action));
    EXPECT_EQ(scenario.steps[1].line, 4U);
}

TEST(ScenarioReaderTest, TimesHaveUnitsAndAreExact)
{
    const std::map<std::string, Time> times = {
        {"0s", 0s},           {"500ms", 500ms}, {"0.1s", 100ms},  {"0.5ms", 500us},
        {"1m", 1min},         {"24h", 24h},     {"1h30m", 90min}, {"1h 30m 5s 20ms", 90min + 5s + 20ms},
        {"100000h", 100'000h}};
    for (const auto& [text, time] : times) {
        EXPECT_EQ(std::get<At>(readStepText("toggle: din 1, at: " + text).trigger).time, time) << text;
    }
}

TEST(ScenarioReaderTest, ARepeatedStepHasItsIntervalItsJitterAndItsEnd)
{
    const auto every = std::get<Every>(readStepText("every: 10s ± 2s, until: 1h, toggle: din 3").trigger);
    EXPECT_EQ(every.interval, 10s);
    EXPECT_EQ(every.jitter, 2s);
    EXPECT_EQ(every.until, 1h);
    const auto plain = std::get<Every>(readStepText("every: 10s, toggle: din 3").trigger);
    EXPECT_EQ(plain.jitter, 0s);
    EXPECT_FALSE(plain.until);
    EXPECT_EQ(std::get<Every>(readStepText("every: 10s+-2s, toggle: din 3").trigger).jitter, 2s);
}

TEST(ScenarioReaderTest, AStepWaitsForAllOfItsPorts)
{
    const auto when =
        std::get<When>(readStepText("when: {dout 1: high, aout 2: 20..30}, after: 300ms, link: up").trigger);
    ASSERT_EQ(when.ranges.size(), 2U);
    EXPECT_EQ(when.ranges[0].port, (Port{OBJ_PORT_DOUT, 1}));
    EXPECT_EQ(when.ranges[0].min, 1.0);
    EXPECT_EQ(when.ranges[0].max, 1.0);
    EXPECT_EQ(when.ranges[1].port, (Port{OBJ_PORT_AOUT, 2}));
    EXPECT_EQ(when.ranges[1].min, 20.0);
    EXPECT_EQ(when.ranges[1].max, 30.0);
    EXPECT_EQ(when.after, 300ms);
}

TEST(ScenarioReaderTest, HowLongAStepLastsStandsBesideTheActionOrInIt)
{
    EXPECT_EQ(readStepText("at: 1s, set: {din 1: high}, for: 3s").duration, 3s);
    EXPECT_EQ(readStepText("at: 1s, set: {din 1: high, for: 3s}").duration, 3s);
    EXPECT_EQ(readStepText("at: 1s, toggle: din 1, for: 3s").duration, 3s);
    EXPECT_EQ(readStepText("at: 1s, sensor: {ain 1: stuck, for: 2m}").duration, 2min);
    EXPECT_EQ(readStepText("at: 1s, wave: {ain 1: 4 ± 3, period: 1m}, for: 1h").duration, 1h);
    EXPECT_FALSE(readStepText("at: 1s, set: {din 1: high}").duration);
}

TEST(ScenarioReaderTest, InputsAreSetInTheOrderOfTheFile)
{
    const auto set = readAction<Set>("set: {din 2: low, din 1: high, ain 1: -20}");
    ASSERT_EQ(set.levels.size(), 3U);
    EXPECT_EQ(set.levels[0].port, (Port{OBJ_PORT_DIN, 2}));
    EXPECT_EQ(set.levels[0].value, 0.0);
    EXPECT_EQ(set.levels[1].port, kReadDin);
    EXPECT_EQ(set.levels[1].value, 1.0);
    EXPECT_EQ(set.levels[2].value, -20.0);
}

TEST(ScenarioReaderTest, EventsKeepTheNamesInTheirTexts)
{
    const auto scan = readAction<Scan>("scan: {scanner: 2, code: 4711-ANNA}");
    EXPECT_EQ(scan.scanner, 2U);
    EXPECT_EQ(scan.code, "4711-ANNA");
    const auto adhoc = readAction<Adhoc>("adhoc: {id: 7, label: \"{n} {{\", value: forced open}");
    EXPECT_EQ(adhoc.id, 7U);
    EXPECT_EQ(adhoc.label, "{n} {{");
    EXPECT_EQ(adhoc.value, "forced open");
}

TEST(ScenarioReaderTest, ARampIsReadWithAStepOfOneSecondUnlessItSaysOtherwise)
{
    const auto ramp = readAction<Ramp>("ramp: {ain 1: 20..85, ain 2: 5.5..-1, over: 30s}");
    ASSERT_EQ(ramp.courses.size(), 2U);
    EXPECT_EQ(ramp.courses[0].port, kReadAin);
    EXPECT_EQ(ramp.courses[0].from, 20.0);
    EXPECT_EQ(ramp.courses[0].to, 85.0);
    EXPECT_EQ(ramp.courses[1].from, 5.5);
    EXPECT_EQ(ramp.courses[1].to, -1.0);
    EXPECT_EQ(ramp.over, 30s);
    EXPECT_EQ(ramp.step, 1s);
    EXPECT_EQ(readAction<Ramp>("ramp: {ain 1: 0..1, over: 1s, step: 250ms}").step, 250ms);
}

TEST(ScenarioReaderTest, AWaveHasItsMiddleItsSwingAndItsShape)
{
    using enum Wave::eShape;
    const auto wave = readAction<Wave>("wave: {ain 1: 40 ± 30, period: 5m}");
    ASSERT_EQ(wave.courses.size(), 1U);
    EXPECT_EQ(wave.courses[0].middle, 40.0);
    EXPECT_EQ(wave.courses[0].swing, 30.0);
    EXPECT_EQ(wave.period, 5min);
    EXPECT_EQ(wave.step, 1s);
    EXPECT_EQ(wave.shape, SINE);
    const std::map<std::string, Wave::eShape> shapes = {
        {"sine", SINE}, {"square", SQUARE}, {"triangle", TRIANGLE}, {"walk", WALK}};
    for (const auto& [name, shape] : shapes) {
        EXPECT_EQ(readAction<Wave>("wave: {ain 1: 4 +- 3, period: 1m, shape: " + name + "}").shape, shape);
    }
}

TEST(ScenarioReaderTest, AFaultOfASensorHasItsAmount)
{
    using enum Sensor::eFault;
    struct Row
    {
        const char* text;
        Sensor::eFault kind;
        double amount;
    };
    constexpr Row kRows[] = {{"ain 1: stuck", STUCK, 0.0},           {"ain 1: nan", NOT_A_NUMBER, 0.0},
                             {"ain 1: noise ± 2.5", NOISE, 2.5},     {"ain 1: noise +- 2", NOISE, 2.0},
                             {"ain 1: drift 3/min", DRIFT, 3.0},     {"ain 1: drift -0.5/s", DRIFT, -30.0},
                             {"ain 1: drift 60/h", DRIFT, 1.0},      {"ain 1: spike -40", SPIKE, -40.0},
                             {"din 1: chatter 5/s", CHATTER, 5.0},   {"din 1: stuck", STUCK, 0.0},
                             {"din 1: chatter 30/min", CHATTER, 0.5}};
    for (const Row& row : kRows) {
        const auto sensor = readAction<Sensor>("sensor: {" + std::string(row.text) + "}");
        ASSERT_EQ(sensor.faults.size(), 1U) << row.text;
        EXPECT_EQ(sensor.faults[0].kind, row.kind) << row.text;
        EXPECT_DOUBLE_EQ(sensor.faults[0].amount, row.amount) << row.text;
    }
}

TEST(ScenarioReaderTest, AFloodIsOfAdhocEventsOrScans)
{
    const auto smoke =
        readAction<Flood>("flood: {adhoc: {id: 3, label: \"Smoke {n}\", value: z}, count: 500, rate: 50/s}");
    EXPECT_EQ(std::get<Adhoc>(smoke.event).label, "Smoke {n}");
    EXPECT_EQ(smoke.count, 500U);
    EXPECT_EQ(smoke.rate, 50.0);
    const auto scans =
        readAction<Flood>("flood: {scan: {scanner: 1, code: \"{n}\"}, count: 5, rate: 30/min}");
    EXPECT_EQ(std::get<Scan>(scans.event).code, "{n}");
    EXPECT_EQ(scans.rate, 0.5);
}

TEST(ScenarioReaderTest, AnExpectationHasARangeForEachPort)
{
    const auto expect = readAction<Expect>("expect: {dout 2: low, aout 1: 25 ± 5, ain 1: 20, within: 5s}");
    ASSERT_EQ(expect.ranges.size(), 3U);
    EXPECT_EQ(expect.ranges[0].max, 0.0);
    EXPECT_EQ(expect.ranges[1].min, 20.0);
    EXPECT_EQ(expect.ranges[1].max, 30.0);
    EXPECT_EQ(expect.ranges[2].min, 20.0);
    EXPECT_EQ(expect.ranges[2].max, 20.0);
    EXPECT_EQ(expect.within, 5s);
}

TEST(ScenarioReaderTest, TheLinkGoesUpOrDown)
{
    EXPECT_TRUE(readAction<Link>("link: up").up);
    EXPECT_FALSE(readAction<Link>("link: down").up);
}

TEST(ScenarioReaderTest, ATableIsFoundFromTheScenariosFolderAndReadOnce)
{
    const Files files{
        {{"site/day.yaml", "steps:\n"
                           "  - {at: 1s, play: {file: ./tables/day.csv, loop: true, step: 5s}}\n"
                           "  - {at: 2s, play: {file: tables/day.csv}}\n"},
         {"site/tables/day.csv", "time,DIN 1\n1,high\n"}}};
    Scenario scenario;
    EXPECT_EQ(files.mistake(&scenario), "");
    ASSERT_EQ(scenario.steps.size(), 2U);
    const auto& first = std::get<Play>(scenario.steps[0].action);
    const auto& second = std::get<Play>(scenario.steps[1].action);
    EXPECT_TRUE(first.loop);
    EXPECT_EQ(first.step, 5s);
    EXPECT_FALSE(second.loop);
    EXPECT_EQ(second.step, 1s);
    EXPECT_EQ(first.table, second.table);
}

TEST(ScenarioReaderTest, AMistakeInATableNamesTheTable)
{
    const Files files{{{"site/day.yaml", "steps: [{at: 1s, play: {file: day.csv}}]"},
                       {"site/day.csv", "time,DIN 1\n1,maybe\n"}}};
    Scenario scenario;
    EXPECT_EQ(files.mistake(&scenario),
              "site/day.csv:2:3: A value of a digital input is high, low, 1 or 0, not \"maybe\".");
}

TEST(ScenarioReaderTest, ATableWithoutTimeCannotBeLooped)
{
    const Files files{{{"site/day.yaml", "steps:\n  - {at: 1s, play: {file: day.csv, loop: true}}"},
                       {"site/day.csv", "time,DIN 1\n0,high\n"}}};
    Scenario scenario;
    EXPECT_EQ(files.mistake(&scenario),
              "site/day.yaml:2:42: loop must be false, as the table has no row after 0 s: \"true\".");
}

TEST(ScenarioReaderTest, TheTablesOfAScenarioAreBounded)
{
    std::string table = "time,DIN 1\n1,high\n";
    table.resize(10'000'000, '\n');
    const Files files{
        {{"site/day.yaml", "steps:\n  - {at: 1s, play: {file: a}}\n  - {at: 1s, play: {file: b}}"},
         {"site/a", table},
         {"site/b", table}}};
    Scenario scenario;
    EXPECT_EQ(files.mistake(&scenario),
              "site/day.yaml:3:27: The tables of this scenario hold more than 16 MiB.");
}

TEST(ScenarioReaderTest, AFileThatCannotBeReadIsToldAtItsBeginning)
{
    Scenario scenario;
    EXPECT_EQ(Files().mistake(&scenario), "site/day.yaml:1:1: There is no site/day.yaml.");
}

/// It takes minutes if each mistake looks for its place.
TEST(ScenarioReaderTest, OfVeryManyMistakesTheFirstIsTold)
{
    std::string text = "steps:\n- at: 0s\n  set:\n";
    for (int port = 9; port < 100'000; ++port) {
        text += "    din " + std::to_string(port) + ": high\n";
    }
    Scenario scenario;
    const Files files{{{"site/day.yaml", text}}};
    EXPECT_EQ(files.mistake(&scenario), "site/day.yaml:4:5: There is no din 9: the device has 8.");
}

TEST(ScenarioReaderTest, AMistakeShowsTheBeginningOfALongWord)
{
    Scenario scenario;
    const Files files{{{"site/day.yaml", "seed: " + std::string(1000, 'x') + "\n"}}};
    EXPECT_EQ(files.mistake(&scenario),
              "site/day.yaml:1:7: seed is not a whole number from 0 to 4294967295: \"" +
                  std::string(60, 'x') + "...\".");
}

} // namespace

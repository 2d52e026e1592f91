// Scenarios. The input is a file, and behind a NUL a table for those that name one.

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "fuzzinput.h"
#include "property.h"
#include "zulscenario/scenarioreader.h"
#include "zulscenario/valuetext.h"

namespace {

using namespace zulscenario;

constexpr zuldevice::Counts kCounts{4, 4, 2, 2, 2};

/// One line, "FILE:LINE:COLUMN: SENTENCE.", with a place that the file has.
void checkMistake(const std::string& mistake, const std::string& scenario, const std::string& table)
{
    const std::string name = mistake.substr(0, mistake.find(':'));
    require(name == "a.yaml" || name == "b.csv", "a mistake names a file");
    size_t line = 0;
    size_t column = 0;
    char colon = 0;
    std::istringstream place(mistake.substr(name.size() + 1));
    require(bool(place >> line >> colon >> column) && colon == ':', "a mistake has a place");
    const std::string& file = name == "a.yaml" ? scenario : table;
    const auto lines = static_cast<size_t>(std::ranges::count(file, '\n')) + 1;
    require(line >= 1 && line <= lines, "the file has the line");
    require(column >= 1 && column <= file.size() + 1, "the file has the column");
    require(mistake.ends_with('.') && mistake.find('\n') == std::string::npos, "a mistake is a sentence");
    require(mistake.size() < 500, "a mistake repeats a part of its file at most");
}

void checkTime(Time time) { require(time >= Time(0) && time <= kMaxTime, "a time has its bounds"); }

void checkInterval(Time time)
{
    checkTime(time);
    require(time > Time(0), "an interval is above 0");
}

void checkPort(const Port& port)
{
    const uint32_t count = port.isDigital() ? kCounts.digitalInputs : kCounts.analogInputs;
    require(port.number >= 1 && port.number <= count, "the device has the port");
}

/// Each port of @p items is there once.
template <class Items, class PortOf>
void checkPorts(const Items& items, PortOf portOf)
{
    require(!items.empty(), "a port is named");
    for (auto item = items.begin(); item != items.end(); ++item) {
        checkPort(portOf(*item));
        require(std::none_of(items.begin(), item,
                             [&](const auto& other) { return portOf(other) == portOf(*item); }),
                "a port is named once");
    }
}

template <class Items>
void checkPorts(const Items& items)
{
    checkPorts(items, [](const auto& item) { return item.port; });
}

void checkText(const std::string& text)
{
    require(text.find('\0') == std::string::npos && text.size() <= 4096, "a text has its bounds");
    require(findUnknownName(text).empty(), "the names in a text are known");
    const std::string filled = fillText(text, {.event = 1, .serial = 2, .device = 3});
    require(filled.size() <= text.size(), "no name is shorter than its value here");
}

// Actions.

void check(const Scan& scan)
{
    require(scan.scanner >= 1 && scan.scanner <= kCounts.scanners, "the device has the scanner");
    checkText(scan.code);
}

void check(const Adhoc& adhoc)
{
    require(adhoc.id >= 1 && adhoc.id <= 99, "an id has its bounds");
    checkText(adhoc.label);
    checkText(adhoc.value);
}

void check(const Set& set) { checkPorts(set.levels); }
void check(const Toggle& toggle) { checkPort(toggle.port); }

void check(const Ramp& ramp)
{
    checkPorts(ramp.courses);
    checkInterval(ramp.over);
    checkInterval(ramp.step);
}

void check(const Wave& wave)
{
    checkPorts(wave.courses);
    checkInterval(wave.period);
    checkInterval(wave.step);
    require(wave.step <= wave.period, "a wave has a step in its period");
    require(std::ranges::all_of(wave.courses, [](const auto& course) { return course.swing >= 0.0; }),
            "a swing is not below 0");
}

void check(const Sensor& sensor)
{
    checkPorts(sensor.faults);
    for (const Sensor::Fault& fault : sensor.faults) {
        require(std::isfinite(fault.amount), "an amount is a number");
        require(fault.kind != Sensor::eFault::CHATTER || (fault.port.isDigital() && fault.amount > 0.0),
                "a digital input chatters");
        require(fault.kind == Sensor::eFault::CHATTER || fault.kind == Sensor::eFault::STUCK ||
                    !fault.port.isDigital(),
                "other faults have values");
    }
}

void check(const Flood& flood)
{
    std::visit([](const auto& event) { check(event); }, flood.event);
    require(flood.count >= 1 && flood.rate > 0.0 && flood.rate <= 1e6, "a flood has its bounds");
}

void check(const Play& play)
{
    require(play.table != nullptr, "a table is there");
    const Table& table = *play.table;
    checkInterval(play.step);
    checkPorts(table.columns);
    require(!table.times.empty(), "a table has rows");
    require(table.values.size() == table.times.size() * table.columns.size(), "a row has its cells");
    std::ranges::for_each(table.times, checkTime);
    require(std::ranges::adjacent_find(table.times, std::greater_equal()) == table.times.end(),
            "times go up");
    require(!play.loop || table.times.back() > Time(0), "a round takes its time");
}

void checkRanges(const std::vector<Range>& ranges)
{
    checkPorts(ranges);
    require(std::ranges::all_of(ranges, [](const Range& range) { return range.min <= range.max; }),
            "a range has its order");
}

void check(const Expect& expect)
{
    checkRanges(expect.ranges);
    checkTime(expect.within);
}

void check(const Link&) {}

// When.

void check(const At& at) { checkTime(at.time); }

void check(const Every& every)
{
    checkInterval(every.interval);
    require(every.jitter >= Time(0) && every.jitter <= every.interval, "a jitter has its bounds");
    require(!every.until || *every.until > every.interval, "something is done before the end");
}

void check(const When& when)
{
    checkRanges(when.ranges);
    checkTime(when.after);
}

void checkScenario(const Scenario& scenario)
{
    require(!scenario.name.empty() && !scenario.steps.empty(), "a scenario has a name and steps");
    require(!scenario.repeat || *scenario.repeat >= 1, "a scenario is played");
    checkTime(scenario.spread);
    if (!scenario.start.empty()) {
        checkPorts(scenario.start);
    }
    uint32_t line = 1;
    for (const Step& step : scenario.steps) {
        require(step.line >= line, "steps have their order");
        line = step.line;
        std::visit([](const auto& trigger) { check(trigger); }, step.trigger);
        std::visit([](const auto& action) { check(action); }, step.action);
        if (step.duration) {
            checkInterval(*step.duration);
        }
        require(scenario.repeat == 1U || !isEndless(step), "what is repeated ends");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    const std::string content = input.restText();
    const std::string file = content.substr(0, content.find('\0'));
    const std::string table = content.substr(std::min(file.size() + 1, content.size()));
    const auto read = [&](const std::string& path, std::string* read) {
        *read = path == "a.yaml" ? file : table;
        return path == "a.yaml" || path == "b.csv" ? "" : "There is no such table.";
    };
    Scenario scenario;
    const std::string mistake = readScenario("a.yaml", kCounts, &scenario, read);
    if (mistake.empty()) {
        checkScenario(scenario);
    } else {
        checkMistake(mistake, file, table);
        require(scenario.steps.empty() && scenario.name.empty(), "nothing of a wrong file is used");
    }
    return 0;
}

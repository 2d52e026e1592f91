#pragma once

#include <chrono>
#include <cmath>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "zuldict/zuldict.h"

/// What happens at a device, and when: a file of docs/scenarios.md, as it was read.
///
/// What is read holds everything that the document promises of a good file: ports are of the right kind and
/// there, times are not negative, no list of ports is empty or names a port twice.
namespace zulscenario {

using Time = std::chrono::microseconds;

/// A port; numbers are from 1.
struct Port
{
    eObjectTypes type = OBJ_PORT_DIN;
    uint32_t number = 0;

    bool isDigital() const { return type == OBJ_PORT_DIN || type == OBJ_PORT_DOUT; }

    bool operator==(const Port&) const = default;
};

/// "din", "dout", "ain" or "aout".
std::string nameOf(eObjectTypes portType);

/// A value for an input: 1 or 0 for high or low, or where a slider is to stand, which is not rounded or held
/// to 0 to 100 yet.
struct Level
{
    Port port = {};
    double value = 0.0;
};

/// The values of a port that are as expected; both bounds belong to them. A digital port has 1 or 0.
struct Range
{
    Port port = {};
    double min = 0.0;
    double max = 0.0;
};

// Texts are UTF-8 and may hold names in braces, which fillText() replaces.

/// What the names in a text stand for.
struct TextValues
{
    uint64_t event = 0; ///< {n}, of the event in its step, from 1
    uint32_t serial = 0;
    uint32_t device = 0; ///< in a fleet, from 0
};

/// @p text with "{n}", "{serial}" and "{device}" replaced by what they stand for, and "{{" by a brace.
std::string fillText(const std::string& text, const TextValues& values);

// The actions of steps.

struct Scan
{
    uint32_t scanner = 0; ///< from 1
    std::string code = {};
};

struct Adhoc
{
    uint32_t id = 0; ///< 1 to 99
    std::string label = {};
    std::string value = {};
};

struct Set
{
    std::vector<Level> levels = {};
};

struct Toggle
{
    Port port = {};
};

/// Analog inputs that go from one value to another: the first value at once, the last one after `over`.
struct Ramp
{
    struct Course
    {
        Port port = {};
        double from = 0.0;
        double to = 0.0;
    };

    std::vector<Course> courses = {};
    Time over = {};
    Time step = {};
};

/// Analog inputs that swing around a value. A walk moves by up to 4 * swing * step / period a step, and turns
/// where the swing ends.
struct Wave
{
    enum class eShape : uint8_t
    {
        SINE,
        SQUARE,
        TRIANGLE,
        WALK
    };

    struct Course
    {
        Port port = {};
        double middle = 0.0;
        double swing = 0.0; ///< not negative
    };

    std::vector<Course> courses = {};
    Time period = {};
    Time step = {};
    eShape shape = eShape::SINE;
};

/// What sensors make of what they measure, until another fault of the same port begins.
struct Sensor
{
    enum class eFault : uint8_t
    {
        STUCK,
        NOISE, ///< up to `amount` more or less
        DRIFT, ///< by `amount` a minute, which may be negative
        SPIKE, ///< about every tenth sample is `amount` off, which may be negative
        NOT_A_NUMBER,
        CHATTER ///< `amount` changes a second, of a digital input
    };

    struct Fault
    {
        Port port = {};
        eFault kind = eFault::STUCK;
        double amount = 0.0;
    };

    std::vector<Fault> faults = {};
};

/// `count` events, the first one at once.
struct Flood
{
    std::variant<Adhoc, Scan> event = {};
    uint32_t count = 0;
    double rate = 0.0; ///< events a second
};

/// A table of times and values of inputs.
struct Table
{
    struct Column
    {
        Port port = {};
        bool linear = false; ///< the values between two of the table lie on a line; only of an analog input
    };

    std::vector<Column> columns = {};
    std::vector<Time> times = {};   ///< of the rows, each later than the one before; never empty
    std::vector<float> values = {}; ///< of the rows, a value for each column; NaN if the cell is empty

    /// Nothing if the cell is empty.
    std::optional<float> value(size_t row, size_t column) const
    {
        const float value = values[row * columns.size() + column];
        return std::isnan(value) ? std::nullopt : std::make_optional(value);
    }
};

struct Play
{
    std::shared_ptr<const Table> table = {}; ///< never null
    bool loop = false; ///< begin again at the time of the last row, which is then above 0
    Time step = {};    ///< between the values of a linear column
};

struct Expect
{
    std::vector<Range> ranges = {}; ///< all of them at once
    Time within = {};
};

struct Link
{
    bool up = false;
};

using Action = std::variant<Set, Toggle, Scan, Adhoc, Ramp, Wave, Sensor, Flood, Play, Expect, Link>;

// When a step is done.

struct At
{
    Time time = {};
};

/// At `interval`, twice that, and so on, each time up to `jitter` earlier or later.
struct Every
{
    Time interval = {};
    Time jitter = {};               ///< at most `interval`
    std::optional<Time> until = {}; ///< nothing is done at this time or later; above `interval`
};

/// Each time when all of the ranges begin to hold.
struct When
{
    std::vector<Range> ranges = {};
    Time after = {};
};

/// A step; its number is its place in the file, from 1.
struct Step
{
    std::variant<At, Every, When> trigger = {};
    Action action = {};
    /// How long a Set, Toggle, Wave or Sensor lasts. What was set or toggled is then what it was.
    std::optional<Time> duration = {};
    uint32_t line = 0; ///< of the file, from 1
};

/// True if @p step comes to no end by itself: a scenario with such a step is never done.
bool isEndless(const Step& step);

/// True if @p step comes after 0 s or goes on for a time. An Expect ends as soon as it is met.
bool takesTime(const Step& step);

struct Scenario
{
    std::string name = {};
    std::optional<uint32_t> seed = {};
    Time spread = {}; ///< the longest delay of a device's start in a fleet
    std::vector<Level> start = {};
    std::deque<Step> steps = {};
    std::optional<uint32_t> repeat = 1; ///< from 1; nothing for "forever"
};

} // namespace zulscenario

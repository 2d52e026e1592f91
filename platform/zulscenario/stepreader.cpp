#include "zulscenario/stepreader.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <type_traits>
#include <utility>

#include "zulscenario/mapreader.h"

namespace zulscenario {

namespace {

using namespace std::chrono_literals;

using V = ValueReader;
using Words = MapReader::Words;

constexpr Time kDefaultStep = 1s;
constexpr std::initializer_list<eObjectTypes> kPorts = {OBJ_PORT_DIN, OBJ_PORT_DOUT, OBJ_PORT_AIN,
                                                        OBJ_PORT_AOUT};

/// The one of @p words that @p map has; null and a mistake if it has none of them, or two. @p what is such as
/// "This step".
const Entry* findOnly(const MapReader& map, const Words& words, const YamlNode& key,
                      const ValueReader& values)
{
    std::string names;
    std::vector<const Entry*> found;
    for (const std::string_view word : words) {
        names += (names.empty() ? "" : ", ") + std::string(word);
        if (const Entry* entry = map.find(word)) {
            found.push_back(entry);
        }
    }
    if (found.empty()) {
        values.mistakes().fail(key.offset, key.text + " needs one of " + names + ".");
        return nullptr;
    }
    std::ranges::sort(found, {}, [](const Entry* entry) { return entry->key.offset; });
    if (found.size() > 1) {
        values.mistakes().fail(found[1]->key.offset, key.text + " has " + excerpt(found[0]->key.text) +
                                                         " and " + excerpt(found[1]->key.text) +
                                                         "; leave one of them out.");
    }
    return found[0];
}

// Actions.

Scan readScan(const Entry& entry, const ValueReader& values)
{
    const MapReader map(values, entry, {"scanner", "code"});
    return {.scanner = map.required("scanner", &V::scanner), .code = map.required("code", &V::pattern)};
}

Adhoc readAdhoc(const Entry& entry, const ValueReader& values)
{
    const MapReader map(values, entry, {"id", "label", "value"});
    return {.id = map.required("id", &V::adhocId),
            .label = map.required("label", &V::pattern),
            .value = map.required("value", &V::pattern)};
}

Set readSet(const Entry& entry, const ValueReader& values)
{
    return {MapReader(values, entry, {"for"}, kInputTypes).ports(&V::level)};
}

Toggle readToggle(const Entry& entry, const ValueReader& values) { return {values.digitalInput(entry)}; }

Ramp readRamp(const Entry& entry, const ValueReader& values)
{
    const MapReader map(values, entry, {"over", "step"}, {OBJ_PORT_AIN});
    return {.courses = map.ports(&V::rampCourse),
            .over = map.required("over", &V::timeAboveZero),
            .step = map.optional("step", &V::timeAboveZero, kDefaultStep)};
}

Wave readWave(const Entry& entry, const ValueReader& values)
{
    const MapReader map(values, entry, {"period", "shape", "step", "for"}, {OBJ_PORT_AIN});
    Wave wave{.courses = map.ports(&V::waveCourse),
              .period = map.required("period", &V::timeAboveZero),
              .step = map.optional("step", &V::timeAboveZero, kDefaultStep),
              .shape = map.optional("shape", &V::shape, Wave::eShape::SINE)};
    if (wave.step > wave.period) {
        const Entry* step = map.find("step");
        values.mistakes().fail(step == nullptr ? entry.key.offset : step->key.offset,
                               "step, which is 1 s if left out, must not be longer than period.");
    }
    return wave;
}

Sensor readSensor(const Entry& entry, const ValueReader& values)
{
    return {MapReader(values, entry, {"for"}, kInputTypes).ports(&V::sensorFault)};
}

Flood readFlood(const Entry& entry, const ValueReader& values)
{
    const MapReader map(values, entry, {"adhoc", "scan", "count", "rate"});
    Flood flood;
    const Entry* event = findOnly(map, {"adhoc", "scan"}, entry.key, values);
    if (event != nullptr && event->key.text == "adhoc") {
        flood.event = readAdhoc(*event, values);
    } else if (event != nullptr) {
        flood.event = readScan(*event, values);
    }
    flood.count = map.required("count", &V::count);
    flood.rate = map.required("rate", &V::rate);
    return flood;
}

Expect readExpect(const Entry& entry, const ValueReader& values)
{
    const MapReader map(values, entry, {"within"}, kPorts);
    return {.ranges = map.ports(&V::range), .within = map.required("within", &V::time)};
}

Link readLink(const Entry& entry, const ValueReader& values) { return {values.isUp(entry)}; }

Play readPlay(const Entry& entry, const ValueReader& values, const FindTable& findTable)
{
    const MapReader map(values, entry, {"file", "loop", "step"});
    Play play{.loop = map.optional("loop", &V::isTrue, false),
              .step = map.optional("step", &V::timeAboveZero, kDefaultStep)};
    map.required("file", &V::text);
    if (const Entry* file = map.find("file"); file != nullptr && !values.mistakes().failed()) {
        play.table = findTable(*file);
    }
    if (play.loop && play.table != nullptr && play.table->times.back() == Time(0)) {
        values.failRule(*map.find("loop"), "false, as the table has no row after 0 s");
    }
    return play;
}

/// An action and its key.
struct ActionWords
{
    std::string_view name;
    bool lasts; ///< it may have "for"
    Action (*read)(const Entry& entry, const ValueReader& values, const FindTable& findTable);
};

template <auto Read>
Action read(const Entry& entry, const ValueReader& values, const FindTable& findTable)
{
    if constexpr (std::is_invocable_v<decltype(Read), const Entry&, const ValueReader&>) {
        return Read(entry, values);
    } else {
        return Read(entry, values, findTable);
    }
}

constexpr auto kActions = std::to_array<ActionWords>({
    {"set", true, read<readSet>},
    {"toggle", true, read<readToggle>},
    {"scan", false, read<readScan>},
    {"adhoc", false, read<readAdhoc>},
    {"ramp", false, read<readRamp>},
    {"wave", true, read<readWave>},
    {"sensor", true, read<readSensor>},
    {"flood", false, read<readFlood>},
    {"play", false, read<readPlay>},
    {"expect", false, read<readExpect>},
    {"link", false, read<readLink>},
});

/// Reads the steps of a scenario.
class StepReader
{
public:
    StepReader(const YamlNode& node, const ValueReader& values)
        : mKey{.offset = node.offset, .text = "This step"},
          mValues(values),
          mMap(values, {mKey, node}, stepWords())
    {}

    Step read(uint32_t line, const FindTable& findTable)
    {
        Step step{.line = line};
        readTrigger(&step);
        const Entry* entry = findOnly(mMap, actionNames(), mKey, mValues);
        if (entry != nullptr) {
            const auto* words = std::ranges::find(kActions, entry->key.text, &ActionWords::name);
            step.action = words->read(*entry, mValues, findTable);
            readDuration(*entry, words->lasts, &step);
        }
        return step;
    }

private:
    static Words actionNames()
    {
        Words names;
        std::ranges::transform(kActions, std::back_inserter(names), &ActionWords::name);
        return names;
    }

    static Words stepWords()
    {
        Words words = {"at", "every", "until", "when", "after", "for"};
        std::ranges::copy(actionNames(), std::back_inserter(words));
        return words;
    }

    void readTrigger(Step* step)
    {
        const Entry* trigger = findOnly(mMap, {"at", "every", "when"}, mKey, mValues);
        if (trigger == nullptr) {
            return;
        }
        const std::string& word = trigger->key.text;
        if (word == "at") {
            step->trigger = At{mValues.time(*trigger)};
        } else if (word == "every") {
            step->trigger = readEvery(*trigger);
        } else if (word == "when") {
            step->trigger = When{.ranges = MapReader(mValues, *trigger, {}, kPorts).ports(&V::range),
                                 .after = mMap.optional("after", &V::time, Time(0))};
        }
        checkBelongs("until", "every", word);
        checkBelongs("after", "when", word);
    }

    void checkBelongs(std::string_view name, const std::string& owner, const std::string& trigger)
    {
        const Entry* entry = mMap.find(name);
        if (entry != nullptr && trigger != owner) {
            mValues.mistakes().fail(entry->key.offset, std::string(name) + " belongs to " + owner +
                                                           ", which this step has not.");
        }
    }

    Every readEvery(const Entry& entry)
    {
        Every every = mValues.every(entry);
        if (const Entry* until = mMap.find("until")) {
            every.until = mValues.time(*until);
            if (*every.until <= every.interval) {
                mValues.failRule(*until, "later than the first time, one interval after the start");
            }
        }
        return every;
    }

    /// "for" is a key of the step, or one in the action's map, which has read that it may be there.
    void readDuration(const Entry& action, bool lasts, Step* step)
    {
        std::vector<Entry> found;
        if (const Entry* entry = mMap.find("for")) {
            found.push_back(*entry);
        }
        const std::vector<YamlNode>& items = action.value.items;
        for (size_t i = 0; lasts && i + 1 < items.size(); i += 2) {
            if (items[i].text == "for") {
                found.push_back({items[i], items[i + 1]});
            }
        }
        if (found.empty()) {
            return;
        }
        const Entry& entry = found.back();
        if (!lasts) {
            mValues.mistakes().fail(entry.key.offset, "for does not belong to " + action.key.text +
                                                          "; it belongs to set, toggle, wave and sensor.");
        } else if (found.size() > 1) {
            mValues.mistakes().fail(entry.key.offset, "for is given twice; leave one of them out.");
        }
        step->duration = mValues.timeAboveZero(entry);
        const auto* every = std::get_if<Every>(&step->trigger);
        if (every != nullptr && *step->duration >= every->interval) {
            mValues.failRule(entry, "shorter than every");
        }
    }

    const YamlNode mKey;
    const ValueReader& mValues;
    const MapReader mMap;
};

} // namespace

Step readStep(const YamlNode& node, const ValueReader& values, const FindTable& findTable)
{
    return StepReader(node, values).read(node.line, findTable);
}

} // namespace zulscenario

#include "zulscenario/valuereader.h"

#include <algorithm>
#include <array>

#include "zulcommand/commandwords.h"
#include "zuldevice/devicefile.h"
#include "zulscenario/valuetext.h"

namespace zulscenario {

namespace {

constexpr const char* kTime = "a time such as 500ms, 10s or 1h30m";
constexpr const char* kLevel = "high or low";
constexpr const char* kNumber = "a number such as 20 or 37.5";

/// What a mistake shows of @p value.
std::string shown(const YamlNode& value)
{
    switch (value.kind) {
    case YamlNode::eKind::LIST:
        return "a list";
    case YamlNode::eKind::MAP:
        return "a map";
    default:
        return excerpt(value.text);
    }
}

/// The text of a value that is no number; empty if it is no text.
std::string_view textOf(const YamlNode& value)
{
    return value.kind == YamlNode::eKind::TEXT ? std::string_view(value.text) : std::string_view();
}

/// The text of a value that may be a number.
std::string_view plainTextOf(const YamlNode& value) { return value.isQuoted ? "" : textOf(value); }

using DecimalPair = std::pair<std::optional<double>, std::optional<double>>;

DecimalPair parseDecimals(const std::optional<TextPair>& texts)
{
    return texts ? DecimalPair(parseDecimal(texts->first), parseDecimal(texts->second)) : DecimalPair();
}

// The amounts of faults.

std::optional<double> parseNothing(std::string_view text)
{
    return text.empty() ? std::make_optional(0.0) : std::nullopt;
}

std::optional<double> parseSwing(std::string_view text)
{
    const auto texts = splitPlusMinus(text);
    const auto number = texts && texts->first.empty() ? parseDecimal(texts->second) : std::nullopt;
    return number && *number >= 0.0 ? number : std::nullopt;
}

std::optional<double> parsePositiveRate(std::string_view text)
{
    const std::optional<double> rate = parseRate(text);
    return rate && *rate > 0.0 ? std::make_optional(*rate / 60.0) : std::nullopt;
}

/// How a fault of a sensor is written.
struct FaultWords
{
    std::string_view name; ///< what the text begins with
    Sensor::eFault kind;
    bool ofDigital; ///< only of a digital input
    bool ofAnalog;  ///< only of an analog input
    std::optional<double> (*parse)(std::string_view rest);
};

using enum Sensor::eFault;

constexpr auto kFaults = std::to_array<FaultWords>({
    {"stuck", STUCK, false, false, parseNothing},
    {"nan", NOT_A_NUMBER, false, true, parseNothing},
    {"noise", NOISE, false, true, parseSwing},
    {"drift ", DRIFT, false, true, parseRate},
    {"spike ", SPIKE, false, true, parseDecimal},
    {"chatter ", CHATTER, true, false, parsePositiveRate},
});

} // namespace

void ValueReader::failNot(const Entry& entry, const std::string& what, std::string_view word) const
{
    if (entry.value.kind == YamlNode::eKind::NOTHING) {
        mMistakes->fail(entry.key.offset, entry.key.text + " has no value; it needs " + what + ".");
        return;
    }
    mMistakes->failAt(entry.value.offset, word,
                      entry.key.text + " is not " + what + ": " + shown(entry.value) + ".");
}

void ValueReader::failRule(const Entry& entry, const std::string& must, std::string_view word) const
{
    mMistakes->failAt(entry.value.offset, word,
                      entry.key.text + " must be " + must + ": " + shown(entry.value) + ".");
}

Time ValueReader::time(const Entry& entry) const
{
    const std::optional<Time> time = parseTime(textOf(entry.value));
    if (!time) {
        failNot(entry, kTime);
    }
    return time.value_or(Time(0));
}

Time ValueReader::timeAboveZero(const Entry& entry) const
{
    const Time read = time(entry);
    if (read == Time(0)) {
        failRule(entry, "above 0");
    }
    return read;
}

Every ValueReader::every(const Entry& entry) const
{
    const std::string_view whole = textOf(entry.value);
    const TextPair texts = splitPlusMinus(whole).value_or(TextPair(whole, "0s"));
    const std::optional<Time> interval = parseTime(texts.first);
    const std::optional<Time> jitter = parseTime(texts.second);
    if (!interval || !jitter) {
        failNot(entry, "a time such as 10s, or two such as 10s ± 2s", interval ? texts.second : texts.first);
    } else if (*interval == Time(0)) {
        failRule(entry, "above 0");
    } else if (*jitter > *interval) {
        failRule(entry, "no more than " + std::string(texts.first) + " earlier or later", texts.second);
    }
    return {.interval = interval.value_or(Time(0)), .jitter = jitter.value_or(Time(0))};
}

uint32_t ValueReader::whole(const Entry& entry, uint32_t min, uint32_t max) const
{
    const std::optional<uint32_t> number = parseWhole(plainTextOf(entry.value), min, max);
    if (!number) {
        failNot(entry, "a whole number from " + std::to_string(min) + " to " + std::to_string(max));
    }
    return number.value_or(0);
}

std::optional<uint32_t> ValueReader::repeat(const Entry& entry) const
{
    return textOf(entry.value) == "forever" ? std::nullopt : std::make_optional(count(entry));
}

bool ValueReader::isUp(const Entry& entry) const
{
    const std::string_view text = textOf(entry.value);
    if (text != "up" && text != "down") {
        failNot(entry, "up or down");
    }
    return text == "up";
}

bool ValueReader::isTrue(const Entry& entry) const
{
    const std::string_view text = plainTextOf(entry.value);
    if (text != "true" && text != "false") {
        failNot(entry, "true or false");
    }
    return text == "true";
}

std::string ValueReader::text(const Entry& entry) const
{
    if (entry.value.kind != YamlNode::eKind::TEXT) {
        failNot(entry, "a text; an empty one is \"\"");
        return {};
    }
    const std::string mistake = zulcommand::lineMistake(entry.value.text, "This text");
    if (!mistake.empty()) {
        mMistakes->fail(entry.value.offset, mistake);
    }
    return entry.value.text;
}

std::string ValueReader::name(const Entry& entry) const
{
    if (entry.value.kind == YamlNode::eKind::TEXT && entry.value.text.empty()) {
        failNot(entry, "a name");
    }
    return text(entry);
}

std::string ValueReader::pattern(const Entry& entry) const
{
    const std::string_view unknown = findUnknownName(entry.value.text);
    if (!unknown.empty()) {
        mMistakes->failAt(entry.value.offset, unknown,
                          "There is no " + excerpt(unknown) +
                              "; a text may name {n}, {serial} and {device}, and {{ is a brace.");
    }
    return text(entry);
}

double ValueReader::rate(const Entry& entry) const
{
    const std::optional<double> rate = parseRate(textOf(entry.value));
    if (!rate) {
        failNot(entry, "a rate such as 50/s, 10/min or 1/h");
    } else if (*rate <= 0.0) {
        failRule(entry, "above 0");
    }
    return rate.value_or(0.0) / 60.0;
}

Port ValueReader::digitalInput(const Entry& entry) const
{
    const std::optional<Port> port = parsePort(textOf(entry.value));
    if (!port || port->type != OBJ_PORT_DIN) {
        failNot(entry, "a digital input such as din 1");
        return {};
    }
    checkPort(*port, entry.value);
    return *port;
}

Wave::eShape ValueReader::shape(const Entry& entry) const
{
    struct Shape
    {
        std::string_view name;
        Wave::eShape shape;
    };
    using enum Wave::eShape;
    constexpr auto kShapes =
        std::to_array<Shape>({{"sine", SINE}, {"square", SQUARE}, {"triangle", TRIANGLE}, {"walk", WALK}});
    const auto* found = std::ranges::find(kShapes, textOf(entry.value), &Shape::name);
    if (found == kShapes.end()) {
        failNot(entry, "sine, square, triangle or walk");
        return SINE;
    }
    return found->shape;
}

uint32_t ValueReader::scanner(const Entry& entry) const
{
    const uint32_t number = whole(entry, 1, zuldevice::kMaxItems);
    if (number > mCounts.scanners) {
        mMistakes->fail(entry.value.offset, "There is no scanner " + std::to_string(number) +
                                                ": the device has " + std::to_string(mCounts.scanners) + ".");
    }
    return number;
}

uint32_t ValueReader::adhocId(const Entry& entry) const { return whole(entry, 1, 99); }

uint32_t ValueReader::count(const Entry& entry) const { return whole(entry, 1, zulcommand::kMaxNumber); }

uint32_t ValueReader::seed(const Entry& entry) const { return whole(entry, 0, zulcommand::kMaxNumber); }

Level ValueReader::level(const Port& port, const Entry& entry) const
{
    const std::string_view text = textOf(entry.value);
    const std::optional<double> number = parseDecimal(plainTextOf(entry.value));
    if (port.isDigital()) {
        if (text != "high" && text != "low") {
            failNot(entry, kLevel);
        }
        return {port, text == "high" ? 1.0 : 0.0};
    }
    if (!number) {
        failNot(entry, kNumber);
    }
    return {port, number.value_or(0.0)};
}

Range ValueReader::range(const Port& port, const Entry& entry) const
{
    if (port.isDigital()) {
        const double value = level(port, entry).value;
        return {port, value, value};
    }
    const std::string_view text = textOf(entry.value);
    const auto [from, to] = parseDecimals(splitSpan(text));
    const auto [middle, swing] = parseDecimals(splitPlusMinus(text));
    const std::optional<double> exact = parseDecimal(plainTextOf(entry.value));
    Range range{port, exact.value_or(0.0), exact.value_or(0.0)};
    if (from && to) {
        range = {port, *from, *to};
    } else if (middle && swing) {
        range = {port, *middle - *swing, *middle + *swing};
    } else if (!exact) {
        failNot(entry, "a number such as 20, or several such as 20..30 or 25 ± 5");
    }
    if (range.min > range.max) {
        failRule(entry, "from the smaller to the larger number");
    }
    return range;
}

Ramp::Course ValueReader::rampCourse(const Port& port, const Entry& entry) const
{
    const auto [from, to] = parseDecimals(splitSpan(textOf(entry.value)));
    if (!from || !to) {
        failNot(entry, "two numbers such as 20..85");
    }
    return {port, from.value_or(0.0), to.value_or(0.0)};
}

Wave::Course ValueReader::waveCourse(const Port& port, const Entry& entry) const
{
    const auto [middle, swing] = parseDecimals(splitPlusMinus(textOf(entry.value)));
    if (!middle || !swing || *swing < 0.0) {
        failNot(entry, "two numbers such as 40 ± 30");
    }
    return {port, middle.value_or(0.0), swing.value_or(0.0)};
}

Sensor::Fault ValueReader::sensorFault(const Port& port, const Entry& entry) const
{
    for (const FaultWords& words : kFaults) {
        std::string_view text = textOf(entry.value);
        if (!text.starts_with(words.name) || (port.isDigital() ? words.ofAnalog : words.ofDigital)) {
            continue;
        }
        text.remove_prefix(words.name.size());
        if (const std::optional<double> amount = words.parse(text)) {
            return {port, words.kind, *amount};
        }
    }
    failNot(entry, port.isDigital() ? "stuck, or such as chatter 5/s"
                                    : "stuck, nan, or such as noise ± 2, drift 3/min or spike 40");
    return {port};
}

void ValueReader::checkPort(const Port& port, const YamlNode& name) const
{
    const auto count = [&] {
        switch (port.type) {
        case OBJ_PORT_DIN:
            return mCounts.digitalInputs;
        case OBJ_PORT_DOUT:
            return mCounts.digitalOutputs;
        case OBJ_PORT_AIN:
            return mCounts.analogInputs;
        default:
            return mCounts.analogOutputs;
        }
    }();
    if (port.number > count) {
        mMistakes->fail(name.offset,
                        "There is no " + name.text + ": the device has " + std::to_string(count) + ".");
    }
}

} // namespace zulscenario

#include "zulcommand/condition.h"

#include <algorithm>
#include <limits>

#include "wmsg/utf8.h"
#include "zulobj/jsonvalue.h"

namespace zulcommand {

namespace {

/// The float that is nearest to @p number; the largest ones beyond them.
float toFloat(double number)
{
    constexpr double kLargest = std::numeric_limits<float>::max();
    return static_cast<float>(std::clamp(number, -kLargest, kLargest));
}

std::string namesOf(zuldict::Enumeration names)
{
    std::string text;
    for (const zuldict::Enumerator& name : names) {
        text += (text.empty() ? "" : ", ") + std::string(name.name);
    }
    return text;
}

} // namespace

std::optional<uint32_t> readNumber(const zuldict::TagEntry& field, const std::string& text,
                                   CommandWords* words)
{
    uint32_t number = 0;
    if (zuldict::valueOf(field.names, text.c_str(), &number)) {
        return number;
    }
    const std::optional<uint32_t> parsed = parseNumber(text);
    if (!parsed) {
        words->fail(field.names.empty() ? numberMistake(field.name, text)
                                        : std::string(field.name) + " is neither a whole number nor one of " +
                                              namesOf(field.names) + ": " + quote(text) + ".");
    }
    return parsed;
}

Condition::Condition(const zuldict::TagEntry& field, const FieldValue& value, CommandWords* words)
    : mField(&field),
      mText(field.name + ("=" + value.written)),
      mNull(value.written == "null" && !isNumber()),
      mWanted(utf8::repaired(value.text.c_str()))
{
    if (isNumber()) {
        mMin = mMax = readNumber(field, value.text, words).value_or(0);
    } else if (field.wireType == zuldict::eWireType::FLOAT && !mNull) {
        readFloat(value.text, words);
    }
}

void Condition::readFloat(const std::string& text, CommandWords* words)
{
    const size_t mark = text.find('~');
    const auto nearest = parseFloat(text);
    const auto number = parseDouble(text.substr(0, mark));
    const auto tolerance = parseDouble(mark == std::string::npos ? "" : text.substr(mark + 1));
    if (nearest) {
        mMin = mMax = *nearest;
    } else if (number && tolerance && *tolerance >= 0.0) {
        mMin = toFloat(*number - *tolerance);
        mMax = toFloat(*number + *tolerance);
    } else {
        words->fail(std::string(mField->name) +
                    " is neither a decimal number that a float can hold, nor N~T, nor null: " + quote(text) +
                    ".");
    }
}

bool Condition::holds(const json_t* object) const
{
    json_t* json = json_object_get(object, mField->name);
    if (mNull || json_is_null(json)) {
        return mNull && json_is_null(json);
    }
    uint32_t number = 0;
    float real = 0.0F;
    switch (mField->wireType) {
    case zuldict::eWireType::NUMBER:
        return zulobj::fromJSON(*mField, json, &number).isOk() && number >= mMin && number <= mMax;
    case zuldict::eWireType::FLOAT:
        return zulobj::fromJSON(*mField, json, &real).isOk() && real >= mMin && real <= mMax;
    case zuldict::eWireType::TEXT:
        break;
    }
    return json_is_string(json) && mWanted == json_string_value(json);
}

bool allHold(const Conditions& conditions, const json_t* object)
{
    return std::ranges::all_of(conditions,
                               [object](const Condition& condition) { return condition.holds(object); });
}

} // namespace zulcommand

#include "server/commands/condition.h"

#include <algorithm>
#include <limits>

#include "wmsg/utf8.h"
#include "zulobj/jsonvalue.h"

namespace server {

namespace {

/// The float that is nearest to @p number; the largest ones beyond them.
float toFloat(double number)
{
    constexpr double kLargest = std::numeric_limits<float>::max();
    return static_cast<float>(std::clamp(number, -kLargest, kLargest));
}

std::string namesOf(const zuldict::Enumeration& names)
{
    std::string text;
    for (const zuldict::Enumerator& name : names) {
        text += (text.empty() ? "" : ", ") + std::string(name.name);
    }
    return text;
}

} // namespace

std::string Condition::read(const zuldict::TagEntry& field, const FieldValue& value, Condition* condition)
{
    *condition = Condition();
    condition->mField = &field;
    condition->mText = field.name + ("=" + value.written);
    if (field.wireType == zuldict::eWireType::NUMBER) {
        return condition->readNumber(value.text);
    }
    condition->mNull = value.written == "null";
    condition->mWanted = utf8::repaired(value.text.c_str());
    return condition->mNull || field.wireType == zuldict::eWireType::TEXT ? ""
                                                                          : condition->readFloat(value.text);
}

std::string Condition::readNumber(const std::string& text)
{
    const std::optional<uint32_t> parsed = parseNumber(text);
    uint32_t number = parsed.value_or(0);
    const bool named = mField->names != nullptr && zuldict::valueOf(*mField->names, text.c_str(), &number);
    mMin = mMax = number;
    if (parsed || named) {
        return {};
    }
    return mField->names == nullptr
               ? numberMistake(mField->name, text)
               : mField->name + (" is neither a whole number nor one of " + namesOf(*mField->names)) + ": " +
                     quoted(text) + ".";
}

std::string Condition::readFloat(const std::string& text)
{
    const size_t mark = text.find('~');
    if (mark == std::string::npos) {
        if (const auto number = parseFloat(text)) {
            mMin = mMax = *number;
            return {};
        }
    } else {
        const auto number = parseDouble(text.substr(0, mark));
        const auto tolerance = parseDouble(text.substr(mark + 1));
        if (number && tolerance && *tolerance >= 0.0) {
            mMin = toFloat(*number - *tolerance);
            mMax = toFloat(*number + *tolerance);
            return {};
        }
    }
    return mField->name +
           (" is neither a decimal number that a float can hold, nor N~T, nor null: " + quoted(text) + ".");
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

} // namespace server

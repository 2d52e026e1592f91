#include "zulobj/jsonvalue.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "wmsg/utf8.h"

namespace zulobj {

const zuldict::TagEntry kTypeEntry = {eTag(0), "type", zuldict::eWireType::NUMBER, zuldict::objectTypes()};

json_t* toJSON(const zuldict::TagEntry& entry, uint32_t value)
{
    const char* name = zuldict::nameOf(entry.names, value);
    return name == nullptr ? json_integer(value) : json_string(name);
}

json_t* toJSON(const zuldict::TagEntry& /*entry*/, float value)
{
    return std::isfinite(value) ? json_real(value) : json_null();
}

json_t* toJSON(const zuldict::TagEntry& /*entry*/, const cText& text)
{
    return text.isSet() ? json_string(utf8::repaired(text.bytes()).c_str()) : json_null();
}

WStatus fromJSON(const zuldict::TagEntry& entry, json_t* json, uint32_t* value)
{
    if (json_is_string(json) && !entry.names.empty()) {
        return zuldict::valueOf(entry.names, json_string_value(json), value)
                   ? WStatus::ok()
                   : WStatus::error(entry.name, "has an unknown name");
    }
    if (!json_is_integer(json)) {
        return WStatus::error(entry.name, "is not a whole number");
    }
    const json_int_t number = json_integer_value(json);
    if (number < 0 || number > std::numeric_limits<uint32_t>::max()) {
        return WStatus::error(entry.name, "is out of range");
    }
    *value = static_cast<uint32_t>(number);
    return WStatus::ok();
}

WStatus fromJSON(const zuldict::TagEntry& entry, json_t* json, float* value)
{
    if (json_is_null(json)) {
        *value = std::numeric_limits<float>::quiet_NaN();
        return WStatus::ok();
    }
    if (!json_is_number(json)) {
        return WStatus::error(entry.name, "is not a number");
    }
    // The nine digits of the largest float lie a little above it, so what rounds to it is taken as it.
    constexpr double kLargest = std::numeric_limits<float>::max();
    constexpr double kRoundsUp = 0x1.ffffffp127;
    const double number = json_number_value(json);
    if (std::abs(number) >= kRoundsUp) {
        return WStatus::error(entry.name, "is out of range");
    }
    *value = static_cast<float>(std::clamp(number, -kLargest, kLargest));
    return WStatus::ok();
}

WStatus fromJSON(const zuldict::TagEntry& entry, json_t* json, cText* text)
{
    if (json_is_null(json)) {
        text->clear();
        return WStatus::ok();
    }
    if (!json_is_string(json)) {
        return WStatus::error(entry.name, "is not a text");
    }
    text->set(std::string_view(json_string_value(json), json_string_length(json)));
    return WStatus::ok();
}

} // namespace zulobj

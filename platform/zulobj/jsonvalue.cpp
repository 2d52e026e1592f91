#include "zulobj/jsonvalue.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>

namespace zulobj {

namespace {

/// The length of the UTF-8 character (RFC 3629) at @p text, or 0 where there is none.
size_t characterSize(std::string_view text, size_t at)
{
    // jansson knows UTF-8 by the book: overlong forms and surrogates are refused, NUL can't occur.
    for (size_t size = 1; size <= 4 && at + size <= text.size(); ++size) {
        json_t* character = json_stringn(text.data() + at, size);
        if (character != nullptr) {
            json_decref(character);
            return size;
        }
    }
    return 0;
}

std::string mendUTF8(std::string_view text)
{
    std::string mended;
    for (size_t at = 0; at < text.size();) {
        const size_t size = characterSize(text, at);
        if (size == 0) {
            mended += "\xEF\xBF\xBD"; // U+FFFD
            ++at;
        } else {
            mended.append(text, at, size);
            at += size;
        }
    }
    return mended;
}

} // namespace

json_t* numberToJSON(const zuldict::TagEntry& entry, uint32_t value)
{
    const char* name = entry.names == nullptr ? nullptr : zuldict::nameOf(*entry.names, value);
    return name == nullptr ? json_integer(value) : json_string(name);
}

WStatus numberFromJSON(const zuldict::TagEntry& entry, json_t* json, uint32_t* value)
{
    if (json_is_string(json) && entry.names != nullptr) {
        return zuldict::valueOf(*entry.names, json_string_value(json), value)
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

json_t* floatToJSON(float value) { return std::isfinite(value) ? json_real(value) : json_null(); }

WStatus floatFromJSON(const zuldict::TagEntry& entry, json_t* json, float* value)
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

json_t* textToJSON(const cText& text)
{
    if (!text.isSet()) {
        return json_null();
    }
    json_t* json = json_string(text.get());
    return json != nullptr ? json : json_string(mendUTF8(text.bytes()).c_str());
}

WStatus textFromJSON(const zuldict::TagEntry& entry, json_t* json, cText* text)
{
    if (json_is_null(json)) {
        text->set(nullptr);
        return WStatus::ok();
    }
    if (!json_is_string(json)) {
        return WStatus::error(entry.name, "is not a text");
    }
    text->set(json_string_value(json), json_string_length(json));
    return WStatus::ok();
}

namespace {

/// Not a tag on the wire: an object's type stands in its header.
const zuldict::TagEntry kTypeEntry = {eTag(0), "type", zuldict::eWireType::NUMBER, &zuldict::objectTypes()};

} // namespace

json_t* typeToJSON(uint32_t type) { return numberToJSON(kTypeEntry, type); }

WStatus typeFromJSON(json_t* json, uint32_t* type) { return numberFromJSON(kTypeEntry, json, type); }

} // namespace zulobj

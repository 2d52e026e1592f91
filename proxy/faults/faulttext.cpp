#include "proxy/faults/faulttext.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>

#include "wmsg/utf8.h"
#include "wmsg/wpayload.h"
#include "zulcommand/jsontext.h"
#include "zulobj/jsonvalue.h"

namespace proxy {

namespace {

constexpr size_t kMaxShown = 64;

/// @p ns in units of 10^@p digits ns, without zeros at its end.
std::string decimalText(int64_t ns, int digits)
{
    std::array<char, 48> text;
    std::snprintf(text.data(), text.size(), "%.*f", digits,
                  static_cast<double>(ns) / (digits == 6 ? 1e6 : 1e9));
    std::string result = text.data();
    result.erase(result.find_last_not_of('0') + 1);
    if (result.back() == '.') {
        result.pop_back();
    }
    return result;
}

std::string numberText(const zuldict::TagEntry& field, uint32_t bits)
{
    const zulcommand::JsonPtr json(field.wireType == zuldict::eWireType::FLOAT
                                       ? zulobj::toJSON(field, std::bit_cast<float>(bits))
                                       : zulobj::toJSON(field, bits));
    return json_is_string(json.get()) ? json_string_value(json.get()) : zulcommand::dumped(json);
}

} // namespace

std::string hexText(std::span<const uint8_t> bytes)
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const uint8_t byte : bytes.first(std::min(bytes.size(), kMaxShown))) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    }
    return bytes.size() > kMaxShown ? text + "…" : text;
}

std::string millisecondsText(int64_t ns) { return decimalText(ns, 6) + " ms"; }

std::string secondsText(int64_t ns) { return decimalText(ns, 9) + " s"; }

std::string valueText(const zuldict::TagEntry& field, std::span<const uint8_t> value)
{
    if (field.wireType == zuldict::eWireType::TEXT) {
        const std::string_view text = wmsg::getText(value);
        const std::string shown = utf8::repaired(utf8::cut(text, kMaxShown));
        return text.size() > kMaxShown ? shown + "…" : shown;
    }
    uint32_t bits = 0;
    return wmsg::getNumber(value, &bits) ? numberText(field, bits) : hexText(value);
}

std::string objectText(uint32_t type)
{
    const char* name = zuldict::nameOf(zuldict::objectTypes(), type);
    return name == nullptr ? std::to_string(type) : name;
}

std::string stateText(const Rule& rule)
{
    switch (rule.kind) {
    case eFault::REFUSE:
        return "refused";
    case eFault::ACCEPT_LATE:
        return "accepted " + millisecondsText(rule.ns) + " later";
    case eFault::CUT:
        return "cut";
    case eFault::RESET:
        return "reset";
    case eFault::HALF_CLOSE:
        return "half-closed";
    case eFault::SILENCE:
    case eFault::TIMEOUT:
        return "silent";
    case eFault::STALL:
        return "not read for " + secondsText(rule.ns);
    case eFault::SLOW_CLOSE:
        return "ended " + millisecondsText(rule.ns) + " later";
    default:
        return "";
    }
}

eFault reportedKind(eFault kind) { return kind == eFault::TIMEOUT ? eFault::SILENCE : kind; }

} // namespace proxy

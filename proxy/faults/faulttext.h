#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "proxy/rules/rule.h"

// How lines about faults write bytes, times and values.
namespace proxy {

/// @p bytes in hexadecimal, at most 64 of them and then "…".
std::string hexText(std::span<const uint8_t> bytes);

/// "3000 ms", "0.5 ms".
std::string millisecondsText(int64_t ns);

/// "3 s", "0.25 s".
std::string secondsText(int64_t ns);

/// The JSON form of a field's @p value. A text has no quotation marks and at most 64 bytes.
std::string valueText(const zuldict::TagEntry& field, std::span<const uint8_t> value);

/// The name of a type of records, or its number if it has no name.
std::string objectText(uint32_t type);

/// What a connection becomes by @p rule, of a kind of the connection: "cut", "not read for 3 s".
std::string stateText(const Rule& rule);

/// The kind that lines about faults name, which is not one of the aliases.
eFault reportedKind(eFault kind);

} // namespace proxy

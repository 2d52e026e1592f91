#pragma once

#include <optional>
#include <string_view>
#include <utility>

#include "zulscenario/scenario.h"

// The values that a scenario writes as text. Nothing if a text is something else.
namespace zulscenario {

/// The longest time, which leaves room for sums.
constexpr Time kMaxTime = std::chrono::hours(100'000);

/// A decimal number such as "20", "-0.5"; no sign "+", no exponent.
std::optional<double> parseDecimal(std::string_view text);

/// A whole number such as "7", without sign and leading zeros.
std::optional<uint32_t> parseWhole(std::string_view text, uint32_t min, uint32_t max);

/// Parts in h, m, s and ms, each once at most, such as "500ms", "1.5s", "1h30m" or "1h 30m".
std::optional<Time> parseTime(std::string_view text);

/// A rate such as "50/s", "3/min" or "-1/h", a minute; at most a million a second either way.
std::optional<double> parseRate(std::string_view text);

/// A port such as "din 1".
std::optional<Port> parsePort(std::string_view text);

using TextPair = std::pair<std::string_view, std::string_view>;

/// What is before and behind "..".
std::optional<TextPair> splitSpan(std::string_view text);

/// What is before and behind "±" or "+-", without blanks at the ends.
std::optional<TextPair> splitPlusMinus(std::string_view text);

/// The first name in braces that fillText() does not know, with its braces; an empty text if all are known.
std::string_view findUnknownName(std::string_view text);

} // namespace zulscenario

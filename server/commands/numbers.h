#pragma once

// Reads numbers from text, whatever the locale: the whole text must be the number.

#include <cstdint>
#include <optional>
#include <string_view>

namespace server {

/// The maximum of a whole number.
constexpr uint32_t kMaxNumber = 0xFFFFFFFF;

/// The maximum time in a command or an option, in seconds.
constexpr double kMaxSeconds = 86400.0;

/// A whole number, decimal or hexadecimal after "0x", from @p min to @p max.
std::optional<uint32_t> parseNumber(std::string_view text, uint32_t min = 0, uint32_t max = kMaxNumber);

/// A decimal number that a float can hold, not NaN or infinity.
std::optional<float> parseFloat(std::string_view text);

/// The same, and also "nan", "inf" and "-inf".
std::optional<float> parseAnyFloat(std::string_view text);

/// The same as parseFloat() for a double.
std::optional<double> parseDouble(std::string_view text);

/// A time in decimal seconds from 0 to kMaxSeconds.
std::optional<double> parseSeconds(std::string_view text);

} // namespace server

#ifndef SERVER_NUMBERS_H
#define SERVER_NUMBERS_H

// Reads numbers from text, whatever the locale: the whole text must be the number.

#include <cstdint>
#include <string_view>

namespace server {

/// The maximum time in a command or an option, in seconds.
constexpr double kMaxSeconds = 86400.0;

/// Reads a whole number, decimal or hexadecimal after "0x", from @p min to @p max.
/// False, and @p *value unchanged, for anything else.
bool parseNumber(std::string_view text, uint32_t min, uint32_t max, uint32_t* value);

/// Reads a decimal number that a float can hold; NaN and infinity are none.
bool parseFloat(std::string_view text, float* value);

/// The same, and also "nan", "inf" and "-inf".
bool parseAnyFloat(std::string_view text, float* value);

/// The same as parseFloat() for a double.
bool parseDouble(std::string_view text, double* value);

/// Reads a time in decimal seconds from 0 to kMaxSeconds.
bool parseSeconds(std::string_view text, double* value);

} // namespace server

#endif

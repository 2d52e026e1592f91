#include "server/commands/numbers.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>
#include <utility>

namespace server {

namespace {

template <class Real>
bool parseReal(std::string_view text, Real* value)
{
    Real number = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end || !std::isfinite(number)) {
        return false;
    }
    *value = number;
    return true;
}

} // namespace

bool parseNumber(std::string_view text, uint32_t min, uint32_t max, uint32_t* value)
{
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const std::string_view digits = hex ? text.substr(2) : text;
    uint32_t number = 0;
    const char* const end = digits.data() + digits.size();
    const std::from_chars_result result = std::from_chars(digits.data(), end, number, hex ? 16 : 10);
    if (result.ec != std::errc() || result.ptr != end || number < min || number > max) {
        return false;
    }
    *value = number;
    return true;
}

bool parseFloat(std::string_view text, float* value) { return parseReal(text, value); }

bool parseAnyFloat(std::string_view text, float* value)
{
    using Limits = std::numeric_limits<float>;
    constexpr std::pair<std::string_view, float> kNames[] = {
        {"nan", Limits::quiet_NaN()}, {"inf", Limits::infinity()}, {"-inf", -Limits::infinity()}};
    for (const auto& [name, number] : kNames) {
        if (text == name) {
            *value = number;
            return true;
        }
    }
    return parseFloat(text, value);
}

bool parseDouble(std::string_view text, double* value) { return parseReal(text, value); }

bool parseSeconds(std::string_view text, double* value)
{
    double seconds = 0.0;
    if (!parseReal(text, &seconds) || std::signbit(seconds) || seconds > kMaxSeconds) {
        return false;
    }
    *value = seconds;
    return true;
}

} // namespace server

#include "server/commands/numbers.h"

#include <charconv>
#include <cmath>
#include <system_error>

namespace server {

namespace {

template <class Number, class... Format>
std::optional<Number> parse(std::string_view text, Format... format)
{
    Number number = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, number, format...);
    return result.ec == std::errc() && result.ptr == end ? std::make_optional(number) : std::nullopt;
}

template <class Real>
std::optional<Real> parseFinite(std::string_view text)
{
    const std::optional<Real> number = parse<Real>(text);
    return number && std::isfinite(*number) ? number : std::nullopt;
}

} // namespace

std::optional<uint32_t> parseNumber(std::string_view text, uint32_t min, uint32_t max)
{
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    const std::optional<uint32_t> number = parse<uint32_t>(hex ? text.substr(2) : text, hex ? 16 : 10);
    return number && *number >= min && *number <= max ? number : std::nullopt;
}

std::optional<float> parseFloat(std::string_view text) { return parseFinite<float>(text); }

std::optional<float> parseAnyFloat(std::string_view text)
{
    const bool named = text == "nan" || text == "inf" || text == "-inf";
    return named ? parse<float>(text) : parseFloat(text);
}

std::optional<double> parseDouble(std::string_view text) { return parseFinite<double>(text); }

std::optional<double> parseSeconds(std::string_view text)
{
    const std::optional<double> seconds = parseDouble(text);
    return seconds && !std::signbit(*seconds) && *seconds <= kMaxSeconds ? seconds : std::nullopt;
}

} // namespace server

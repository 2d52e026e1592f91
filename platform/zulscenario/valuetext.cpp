#include "zulscenario/valuetext.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <system_error>

#include "zulcommand/commandwords.h"
#include "zuldevice/devicefile.h"

namespace zulscenario {

namespace {

using namespace std::chrono_literals;

bool isDigit(char letter) { return letter >= '0' && letter <= '9'; }

std::string_view withoutBlanks(std::string_view text)
{
    const size_t begin = text.find_first_not_of(' ');
    return begin == std::string_view::npos ? std::string_view()
                                           : text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

std::optional<TextPair> split(std::string_view text, std::string_view separator)
{
    const size_t at = text.find(separator);
    return at == std::string_view::npos
               ? std::nullopt
               : std::make_optional<TextPair>(
                     {withoutBlanks(text.substr(0, at)), withoutBlanks(text.substr(at + separator.size()))});
}

/// Takes a part of a time off @p *text if its unit is @p unit. Returns 0 if it is not.
Time takePart(std::string_view* text, std::string_view unit, Time length)
{
    const std::string_view number = text->substr(0, text->find_first_not_of("0123456789."));
    const std::string_view behind = text->substr(number.size());
    const size_t unitSize = std::min(behind.find_first_of(" 0123456789"), behind.size());
    const std::optional<double> parts = parseDecimal(number);
    if (!parts || behind.substr(0, unitSize) != unit || *parts > kMaxTime / length) {
        return Time(0);
    }
    *text = withoutBlanks(behind.substr(unitSize));
    return Time(std::llround(*parts * static_cast<double>(length.count())));
}

} // namespace

std::optional<double> parseDecimal(std::string_view text)
{
    const std::string_view digits = text.substr(text.starts_with('-') ? 1 : 0);
    if (digits.empty() || !isDigit(digits.front()) || !isDigit(digits.back())) {
        return std::nullopt; // such as "inf" and ".5"
    }
    double number = 0.0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number, std::chars_format::fixed);
    return result.ec == std::errc() && result.ptr == end ? std::make_optional(number) : std::nullopt;
}

std::optional<uint32_t> parseWhole(std::string_view text, uint32_t min, uint32_t max)
{
    const bool canonical = text == "0" || (!text.empty() && isDigit(text.front()) && text.front() != '0');
    return canonical ? zulcommand::parseNumber(text, min, max) : std::nullopt;
}

std::optional<Time> parseTime(std::string_view text)
{
    if (text.empty() || !isDigit(text.front())) {
        return std::nullopt;
    }
    const std::string_view whole = text;
    Time time = takePart(&text, "h", 1h);
    time += takePart(&text, "m", 1min);
    time += takePart(&text, "s", 1s);
    time += takePart(&text, "ms", 1ms);
    const bool endsInBlank = whole.back() == ' ';
    return text.empty() && !endsInBlank && time <= kMaxTime ? std::make_optional(time) : std::nullopt;
}

std::optional<double> parseRate(std::string_view text)
{
    struct Unit
    {
        std::string_view name;
        double aMinute;
    };
    constexpr auto kUnits = std::to_array<Unit>({{"/s", 60.0}, {"/min", 1.0}, {"/h", 1.0 / 60.0}});
    constexpr double kMaxRate = 1e6 * 60.0;
    for (const Unit& unit : kUnits) {
        if (text.ends_with(unit.name)) {
            const std::optional<double> number = parseDecimal(text.substr(0, text.size() - unit.name.size()));
            const double rate = number.value_or(0.0) * unit.aMinute;
            return number && std::fabs(rate) <= kMaxRate ? std::make_optional(rate) : std::nullopt;
        }
    }
    return std::nullopt;
}

std::optional<Port> parsePort(std::string_view text)
{
    for (const eObjectTypes type : {OBJ_PORT_DIN, OBJ_PORT_DOUT, OBJ_PORT_AIN, OBJ_PORT_AOUT}) {
        const std::string name = nameOf(type) + " ";
        if (text.starts_with(name)) {
            const auto number = parseWhole(text.substr(name.size()), 1, zuldevice::kMaxItems);
            return number ? std::make_optional<Port>({type, *number}) : std::nullopt;
        }
    }
    return std::nullopt;
}

std::optional<TextPair> splitSpan(std::string_view text) { return split(text, ".."); }

std::optional<TextPair> splitPlusMinus(std::string_view text)
{
    const std::optional<TextPair> pair = split(text, "±");
    return pair ? pair : split(text, "+-");
}

std::string_view findUnknownName(std::string_view text)
{
    for (size_t at = text.find('{'); at != std::string_view::npos; at = text.find('{', at)) {
        const std::string_view rest = text.substr(at);
        const std::string_view name = rest.substr(0, std::min(rest.find('}'), rest.size() - 1) + 1);
        if (!rest.starts_with("{{") && name != "{n}" && name != "{serial}" && name != "{device}") {
            return name;
        }
        at += rest.starts_with("{{") ? 2 : name.size();
    }
    return {};
}

} // namespace zulscenario

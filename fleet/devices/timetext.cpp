#include "fleet/devices/timetext.h"

#include "fleet/devices/steadytime.h"
#include "zulcommand/commandwords.h"

namespace fleet {

std::optional<int64_t> parseTime(std::string_view text)
{
    int64_t unit = kSecond;
    if (text.ends_with("ms")) {
        unit = kMillisecond;
        text.remove_suffix(2);
    } else if (text.ends_with('s') || text.ends_with('m')) {
        unit = text.back() == 'm' ? 60 * kSecond : kSecond;
        text.remove_suffix(1);
    }
    const std::optional<double> number = zulcommand::parseDouble(text);
    const double us = number.value_or(0.0) * static_cast<double>(unit);
    const bool fits = us >= static_cast<double>(kMillisecond) &&
                      us <= zulcommand::kMaxSeconds * static_cast<double>(kSecond);
    return fits ? std::make_optional(static_cast<int64_t>(us)) : std::nullopt;
}

} // namespace fleet

#include "proxy/rules/rulewords.h"

#include <cmath>

namespace proxy {

using namespace zulcommand;

namespace {

constexpr double kMaxRuleSeconds = 1'000'000'000.0; ///< sums of two such times fit in 64 bits

/// Reads a decimal number of at most @p max and returns it in nanoseconds. Nothing if there is no such field,
/// or a wrong one.
std::optional<int64_t> readTime(CommandWords* words, const char* name, double max, const char* unit,
                                double unitNs)
{
    const std::optional<std::string> text = words->text(name);
    const std::optional<double> time = text ? parseDouble(*text) : std::nullopt;
    if (time && !std::signbit(*time) && *time <= max) {
        return std::llround(*time * unitNs);
    }
    if (text) {
        words->fail(std::string(name) + " is not a number of " + unit + " from 0 to " +
                    std::to_string(static_cast<uint64_t>(max)) + ": " + quote(*text) + ".");
    }
    return std::nullopt;
}

} // namespace

std::optional<int64_t> readMilliseconds(CommandWords* words, const char* name)
{
    return readTime(words, name, kMaxNumber, "milliseconds", 1e6);
}

std::optional<int64_t> readSeconds(CommandWords* words, const char* name, bool zero)
{
    const std::optional<int64_t> ns = readTime(words, name, kMaxRuleSeconds, "seconds", 1e9);
    if (ns == 0 && !zero) {
        words->fail(std::string(name) + " is 0 seconds.");
    }
    return ns;
}

std::optional<int64_t> readMicroseconds(CommandWords* words, const char* name)
{
    return readTime(words, name, kMaxNumber, "microseconds", 1e3);
}

} // namespace proxy

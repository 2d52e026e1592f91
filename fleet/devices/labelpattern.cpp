#include "fleet/devices/labelpattern.h"

#include "zulcommand/commandwords.h"

namespace fleet {

std::optional<LabelPattern> LabelPattern::parse(const std::string& pattern)
{
    constexpr uint32_t kMaxWidth = 10;
    LabelPattern label;
    const size_t begin = pattern.find("{n");
    const size_t end = begin == std::string::npos ? begin : pattern.find('}', begin);
    if (begin == std::string::npos) {
        return literal(pattern);
    }
    if (end == std::string::npos) {
        return std::nullopt;
    }
    label.mNumbered = true;
    label.mBefore = pattern.substr(0, begin);
    label.mAfter = pattern.substr(end + 1);
    const std::string width = pattern.substr(begin + 2, end - begin - 2);
    if (width.empty()) {
        return label;
    }
    const std::optional<uint32_t> digits =
        width.starts_with(":0") ? zulcommand::parseNumber(width.substr(2), 1, kMaxWidth) : std::nullopt;
    label.mWidth = digits.value_or(1);
    return digits ? std::make_optional(label) : std::nullopt;
}

LabelPattern LabelPattern::literal(const std::string& text)
{
    LabelPattern label;
    label.mBefore = text;
    return label;
}

std::string LabelPattern::text(uint32_t number) const
{
    if (!mNumbered) {
        return mBefore;
    }
    std::string digits = std::to_string(number);
    if (digits.size() < mWidth) {
        digits.insert(0, mWidth - digits.size(), '0');
    }
    return mBefore + digits + mAfter;
}

} // namespace fleet

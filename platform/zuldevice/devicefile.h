#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "zuldevice/portrules.h"

namespace zuldevice {

/// The maximum of ports and scanners of a device in all.
constexpr uint64_t kMaxItems = 100'000;

bool hasTooManyItems(const Counts& counts);

/// The values of a device file: text, one value a line behind a label and a colon. The position of a line
/// tells which value it holds; the label is never looked at.
struct DeviceFile
{
    Counts counts;
    std::string type;
    std::string version;              ///< as the file has it, whether a number or not
    std::string serial;               ///< likewise
    std::optional<std::string> label; ///< nothing if there are fewer than nine lines

    /// Reads what a file holds; the encoding is one that has ASCII in it. There is no failure: a number that
    /// does not convert is 0, a missing line leaves 0 or an empty text, and lines after the ninth mean
    /// nothing.
    static DeviceFile read(std::string_view content);
};

/// The value of one line: what follows the first colon, or the whole line if it has none, without any space
/// character. Other white space stays.
std::string lineValue(std::string_view line);

/// The decimal number that @p text is, or 0 if it is none or does not fit 32 bits.
uint32_t numberOrZero(std::string_view text);

} // namespace zuldevice

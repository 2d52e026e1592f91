#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace fleet {

/// Reads a time like 250ms, 1.5s or 2m, from 1 ms to a day, in microseconds; a number alone is seconds.
/// Nothing if @p text is none.
std::optional<int64_t> parseTime(std::string_view text);

} // namespace fleet

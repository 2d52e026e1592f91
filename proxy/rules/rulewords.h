#pragma once

#include <cstdint>
#include <optional>

#include "zulcommand/commandwords.h"

// These take the value of one field. Nothing if the line has no such field, or a wrong one, which is a
// mistake in the words.
namespace proxy {

// Times, in decimal numbers, as nanoseconds.

/// 0 is a mistake unless @p zero.
std::optional<int64_t> readSeconds(zulcommand::CommandWords* words, const char* name, bool zero);
std::optional<int64_t> readMilliseconds(zulcommand::CommandWords* words, const char* name);
std::optional<int64_t> readMicroseconds(zulcommand::CommandWords* words, const char* name);

} // namespace proxy

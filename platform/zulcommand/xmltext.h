#pragma once

#include <string>

namespace zulcommand {

// Bytes that are not UTF-8, and characters that XML 1.0 does not permit, become U+FFFD.

/// @p text as it stands between tags.
std::string xmlText(const std::string& text);

/// @p text as it stands in an attribute, between double quotation marks.
std::string xmlAttribute(const std::string& text);

} // namespace zulcommand

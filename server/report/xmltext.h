#ifndef SERVER_XMLTEXT_H
#define SERVER_XMLTEXT_H

#include <string>

namespace server {

// U+FFFD takes the place of bytes that are not UTF-8 and of characters that XML 1.0 has no place for, such as
// most control characters.

/// @p text as it stands between tags.
std::string xmlText(const std::string& text);

/// @p text as it stands in an attribute, between double quotation marks.
std::string xmlAttribute(const std::string& text);

} // namespace server

#endif

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// UTF-8 as RFC 3629 defines it: no overlong forms, no surrogates, nothing above U+10FFFF.
namespace utf8 {

/// U+FFFD, the replacement for bytes that are no character.
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

struct Character
{
    uint32_t code = 0;
    size_t size = 0; ///< in bytes; 0 if there is no character
};

/// The character that @p text begins with.
Character firstCharacter(std::string_view text);

/// @p text with kReplacement for each byte that belongs to no character.
std::string repaired(std::string_view text);

/// The beginning of @p text, at most @p maxBytes, cut at the end of a character; bytes that are no text are
/// cut at @p maxBytes.
std::string_view cut(std::string_view text, size_t maxBytes);

} // namespace utf8

#include "wmsg/utf8.h"

#include <algorithm>

namespace utf8 {

namespace {

constexpr size_t kMaxSize = 4;

constexpr bool continues(char byte) { return (static_cast<uint8_t>(byte) & 0xC0U) == 0x80; }

/// The size of the character that begins with @p first; 0 if none does.
constexpr size_t sizeBy(uint8_t first)
{
    if (first < 0x80) {
        return 1;
    }
    if (first < 0xC0 || first >= 0xF8) {
        return 0;
    }
    return first < 0xE0 ? 2 : (first < 0xF0 ? 3 : 4);
}

} // namespace

Character firstCharacter(std::string_view text)
{
    constexpr uint32_t kMinCode[kMaxSize + 1] = {0, 0, 0x80, 0x800, 0x10000};
    const auto first = static_cast<uint8_t>(text.empty() ? '\x80' : text.front());
    const size_t size = sizeBy(first);
    if (size == 0 || size > text.size()) {
        return {};
    }
    uint32_t code = size == 1 ? first : first & (0x7FU >> size);
    for (const char next : text.substr(1, size - 1)) {
        if (!continues(next)) {
            return {};
        }
        code = code << 6U | (static_cast<uint8_t>(next) & 0x3FU);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < kMinCode[size] || surrogate || code > 0x10FFFF ? Character() : Character{code, size};
}

std::string repaired(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        const size_t size = firstCharacter(text).size;
        result += size == 0 ? kReplacement : text.substr(0, size);
        text.remove_prefix(std::max(size, size_t{1}));
    }
    return result;
}

std::string_view cut(std::string_view text, size_t maxBytes)
{
    if (text.size() <= maxBytes) {
        return text;
    }
    for (size_t size = maxBytes; size + kMaxSize > maxBytes; --size) {
        if (!continues(text[size])) {
            return text.substr(0, size);
        }
        if (size == 0) {
            break;
        }
    }
    return text.substr(0, maxBytes);
}

} // namespace utf8

#include "wmsg/utf8.h"

#include <algorithm>
#include <bit>

namespace utf8 {

namespace {

constexpr size_t kMaxSize = 4;

constexpr bool continues(char byte) { return (static_cast<uint8_t>(byte) & 0xC0U) == 0x80; }

} // namespace

Character firstCharacter(std::string_view text)
{
    constexpr uint32_t kMinCode[kMaxSize + 1] = {0, 0, 0x80, 0x800, 0x10000};
    const auto first = static_cast<uint8_t>(text.empty() ? '\x80' : text.front());
    const auto ones = static_cast<size_t>(std::countl_one(first));
    const size_t size = std::max(ones, size_t{1});
    if (ones == 1 || size > kMaxSize || size > text.size()) {
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
    size_t size = maxBytes;
    while (continues(text[size]) && size > 0 && maxBytes - size < kMaxSize - 1) {
        --size;
    }
    return text.substr(0, continues(text[size]) ? maxBytes : size);
}

} // namespace utf8

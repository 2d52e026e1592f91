#include "server/report/xmltext.h"

#include <cstdint>

namespace server {

namespace {

constexpr const char* kReplacement = "\xEF\xBF\xBD"; // U+FFFD

struct Character
{
    uint32_t code = 0;
    size_t size = 0; ///< in bytes; 0 where there is no character
};

/// How many bytes the character that begins with @p first has; 0 where none does.
size_t sizeBy(uint8_t first)
{
    if (first < 0x80) {
        return 1;
    }
    if (first < 0xC0) {
        return 0;
    }
    return first < 0xE0 ? 2 : (first < 0xF0 ? 3 : (first < 0xF8 ? 4 : 0));
}

/// The UTF-8 character (RFC 3629) at @p text.
Character characterAt(const std::string& text, size_t at)
{
    constexpr uint32_t kMin[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto first = static_cast<uint8_t>(text[at]);
    const size_t size = sizeBy(first);
    if (size == 0 || size > text.size() - at) {
        return {};
    }
    uint32_t code = size == 1 ? first : first & (0x7FU >> size);
    for (size_t i = 1; i < size; ++i) {
        const auto next = static_cast<uint8_t>(text[at + i]);
        if ((next & 0xC0U) != 0x80) {
            return {};
        }
        code = code << 6U | (next & 0x3FU);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < kMin[size] || surrogate || code > 0x10FFFF ? Character() : Character{code, size};
}

/// The production Char of XML 1.0.
bool isXmlCharacter(uint32_t code)
{
    return code >= 0x20 ? code != 0xFFFE && code != 0xFFFF : code == '\t' || code == '\n' || code == '\r';
}

/// What stands for a character that can't stand for itself, or null.
using Reference = const char* (*)(uint32_t);

const char* referenceInText(uint32_t code)
{
    switch (code) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '\r':
        return "&#13;";
    default:
        return nullptr;
    }
}

const char* referenceInAttribute(uint32_t code)
{
    switch (code) {
    case '"':
        return "&quot;";
    case '\t':
        return "&#9;";
    case '\n':
        return "&#10;";
    default:
        return referenceInText(code);
    }
}

std::string escaped(const std::string& text, Reference referenceFor)
{
    std::string xml;
    for (size_t at = 0; at < text.size();) {
        const Character character = characterAt(text, at);
        if (character.size == 0 || !isXmlCharacter(character.code)) {
            xml += kReplacement;
        } else if (const char* reference = referenceFor(character.code)) {
            xml += reference;
        } else {
            xml.append(text, at, character.size);
        }
        at += character.size == 0 ? 1 : character.size;
    }
    return xml;
}

} // namespace

std::string xmlText(const std::string& text) { return escaped(text, referenceInText); }

std::string xmlAttribute(const std::string& text) { return escaped(text, referenceInAttribute); }

} // namespace server

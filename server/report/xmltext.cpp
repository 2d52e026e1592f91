#include "server/report/xmltext.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "wmsg/utf8.h"

namespace server {

namespace {

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
    for (std::string_view left = text; !left.empty();) {
        const utf8::Character character = utf8::firstCharacter(left);
        if (character.size == 0 || !isXmlCharacter(character.code)) {
            xml += utf8::kReplacement;
        } else if (const char* reference = referenceFor(character.code)) {
            xml += reference;
        } else {
            xml += left.substr(0, character.size);
        }
        left.remove_prefix(std::max(character.size, size_t{1}));
    }
    return xml;
}

} // namespace

std::string xmlText(const std::string& text) { return escaped(text, referenceInText); }

std::string xmlAttribute(const std::string& text) { return escaped(text, referenceInAttribute); }

} // namespace server

#include "zulcommand/xmltext.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>

#include "wmsg/utf8.h"

namespace zulcommand {

namespace {

/// The production Char of XML 1.0.
bool isXmlCharacter(uint32_t code)
{
    return code >= 0x20 ? code != 0xFFFE && code != 0xFFFF : code == '\t' || code == '\n' || code == '\r';
}

/// A character that cannot stand for itself.
struct Reference
{
    uint32_t code;
    const char* text;
};

constexpr Reference kReferences[] = {{'&', "&amp;"},  {'<', "&lt;"},  {'>', "&gt;"},  {'\r', "&#13;"},
                                     {'"', "&quot;"}, {'\t', "&#9;"}, {'\n', "&#10;"}};
constexpr size_t kInText = 4; ///< the first of them; the others only in an attribute

std::string escaped(const std::string& text, std::span<const Reference> references)
{
    std::string xml;
    for (std::string_view left = text; !left.empty();) {
        const auto [code, size] = utf8::firstCharacter(left);
        const auto reference = std::ranges::find(references, code, &Reference::code);
        if (size == 0 || !isXmlCharacter(code)) {
            xml += utf8::kReplacement;
        } else if (reference != references.end()) {
            xml += reference->text;
        } else {
            xml += left.substr(0, size);
        }
        left.remove_prefix(std::max(size, size_t{1}));
    }
    return xml;
}

} // namespace

std::string xmlText(const std::string& text) { return escaped(text, std::span(kReferences).first(kInText)); }

std::string xmlAttribute(const std::string& text) { return escaped(text, kReferences); }

} // namespace zulcommand

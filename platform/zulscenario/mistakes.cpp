#include "zulscenario/mistakes.h"

#include <algorithm>
#include <utility>

#include "wmsg/utf8.h"
#include "zulcommand/commandwords.h"

namespace zulscenario {

namespace {

bool isControl(char byte) { return (static_cast<unsigned char>(byte) < 0x20) || byte == 0x7F; }

bool isText(char byte) { return !isControl(byte) || byte == '\t' || byte == '\n' || byte == '\r'; }

bool beginsCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80; }

} // namespace

Mistakes::Mistakes(std::string name, std::string_view content) : mName(std::move(name)), mContent(content) {}

void Mistakes::fail(size_t offset, const std::string& sentence)
{
    if (failed()) {
        return; // a hostile file has very many mistakes
    }
    const std::string_view before = mContent.substr(0, offset);
    const size_t lineBegin = before.rfind('\n') + 1; // 0 without one
    const auto column = std::ranges::count_if(before.substr(lineBegin), beginsCharacter) + 1;
    failElsewhere(mName + ":" + std::to_string(lineOf(mContent, offset)) + ":" + std::to_string(column) +
                  ": " + sentence);
}

void Mistakes::failAt(size_t offset, std::string_view word, const std::string& sentence)
{
    if (failed()) {
        return;
    }
    const std::string_view behind = mContent.substr(std::min(offset, mContent.size()));
    const size_t found = behind.substr(0, behind.find('\n')).find(word);
    fail(found == std::string_view::npos ? offset : offset + found, sentence);
}

void Mistakes::failElsewhere(const std::string& text) { mText = mText.empty() ? text : mText; }

size_t lineOf(std::string_view content, size_t offset)
{
    return static_cast<size_t>(std::ranges::count(content.substr(0, offset), '\n')) + 1;
}

void checkText(std::string_view content, Mistakes* mistakes)
{
    for (size_t at = 0; at < content.size() && !mistakes->failed();) {
        const size_t size = utf8::firstCharacter(content.substr(at)).size;
        if (size == 0) {
            mistakes->fail(at, "This byte is no text in UTF-8.");
        } else if (!isText(content[at])) {
            mistakes->fail(at, "This is a control character; a text file has none.");
        }
        at += size;
    }
}

std::string excerpt(std::string_view text)
{
    constexpr size_t kMaxBytes = 60;
    std::string shown(utf8::cut(text, kMaxBytes));
    std::ranges::replace_if(shown, isControl, ' ');
    return zulcommand::quote(shown + (shown.size() < text.size() ? "..." : ""));
}

} // namespace zulscenario

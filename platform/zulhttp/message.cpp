#include "zulhttp/message.h"

#include <algorithm>
#include <charconv>

namespace zulhttp {

namespace {

/// Cuts @p *text at @p separator and returns what is before it.
std::string_view takePart(std::string_view* text, char separator)
{
    const size_t end = std::min(text->find(separator), text->size());
    const std::string_view part = text->substr(0, end);
    text->remove_prefix(std::min(end + 1, text->size()));
    return part;
}

} // namespace

std::string_view Request::header(std::string_view name) const
{
    const auto found = std::ranges::find(headers, name, &Headers::value_type::first);
    return found == headers.end() ? std::string_view() : found->second;
}

std::optional<std::string> Request::parameter(std::string_view name) const
{
    for (std::string_view left = query; !left.empty();) {
        std::string_view value = takePart(&left, '&');
        if (takePart(&value, '=') == name) {
            return decoded(value);
        }
    }
    return std::nullopt;
}

Response jsonResponse(const zulcommand::JsonPtr& json)
{
    return {.type = "application/json", .body = zulcommand::dumped(json) + "\n"};
}

Response problem(unsigned status, const std::string& sentence)
{
    return {.status = status, .body = sentence + "\n"};
}

std::optional<std::string> decoded(std::string_view text)
{
    std::string result;
    for (size_t at = 0; at < text.size(); ++at) {
        auto byte = static_cast<unsigned char>(text[at]);
        if (byte == '%') {
            const std::string_view digits = text.substr(at + 1, 2);
            const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
            if (digits.size() < 2 || error != std::errc() || end != digits.data() + 2) {
                return std::nullopt;
            }
            at += 2;
        }
        if (byte < 0x20 || byte == 0x7F) {
            return std::nullopt;
        }
        result += static_cast<char>(byte);
    }
    return result;
}

std::string lowerCase(std::string_view text)
{
    std::string lower(text);
    for (char& letter : lower) {
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    }
    return lower;
}

} // namespace zulhttp

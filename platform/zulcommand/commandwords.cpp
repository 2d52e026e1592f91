#include "zulcommand/commandwords.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>
#include <utility>

#include "wmsg/utf8.h"
#include "zulcommand/jsontext.h"

namespace zulcommand {

namespace {

template <class Number, class... Format>
std::optional<Number> parse(std::string_view text, Format... format)
{
    Number number = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, number, format...);
    return result.ec == std::errc() && result.ptr == end ? std::make_optional(number) : std::nullopt;
}

template <class Real>
std::optional<Real> parseFinite(std::string_view text)
{
    const std::optional<Real> number = parse<Real>(text);
    return number && std::isfinite(*number) ? number : std::nullopt;
}

/// The position after the word or field at @p begin. Blanks in quotation marks belong to it.
size_t endOfToken(const std::string& line, size_t begin)
{
    size_t at = begin;
    if (line[at] != '"') {
        at = std::min(line.find_first_of(std::string("=") + kBlanks, begin), line.size());
        at += line.compare(at, 2, "=\"") == 0 ? 1 : 0;
    }
    if (at < line.size() && line[at] == '"') {
        for (++at; at < line.size() && line[at] != '"'; ++at) {
            at += line[at] == '\\' ? 1 : 0;
        }
    }
    return std::min(line.find_first_of(kBlanks, at), line.size());
}

} // namespace

std::string trimmed(const std::string& text)
{
    const size_t begin = text.find_first_not_of(kBlanks);
    return begin == std::string::npos ? std::string()
                                      : text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

bool isSkipped(const std::string& trimmedLine) { return trimmedLine.empty() || trimmedLine[0] == '#'; }

std::optional<uint32_t> parseNumber(std::string_view text, uint32_t min, uint32_t max)
{
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    const std::optional<uint32_t> number = parse<uint32_t>(hex ? text.substr(2) : text, hex ? 16 : 10);
    return number && *number >= min && *number <= max ? number : std::nullopt;
}

std::optional<float> parseFloat(std::string_view text) { return parseFinite<float>(text); }

std::optional<float> parseAnyFloat(std::string_view text)
{
    const bool named = text == "nan" || text == "inf" || text == "-inf";
    return named ? parse<float>(text) : parseFloat(text);
}

std::optional<double> parseDouble(std::string_view text) { return parseFinite<double>(text); }

std::optional<double> parseSeconds(std::string_view text)
{
    const std::optional<double> seconds = parseDouble(text);
    return seconds && !std::signbit(*seconds) && *seconds <= kMaxSeconds ? seconds : std::nullopt;
}

std::string lineMistake(const std::string& line, const std::string& subject)
{
    if (line.size() > kMaxCommandBytes) {
        return subject + " is longer than " + std::to_string(kMaxCommandBytes) + " bytes.";
    }
    if (line.find('\0') != std::string::npos) {
        return subject + " holds a NUL.";
    }
    return utf8::repaired(line.c_str()) == line ? "" : subject + " is not UTF-8.";
}

CommandWords::CommandWords(const std::string& line, std::string subject) : mSubject(std::move(subject))
{
    for (size_t begin = line.find_first_not_of(kBlanks); begin != std::string::npos;) {
        const size_t end = endOfToken(line, begin);
        const std::string token = line.substr(begin, end - begin);
        begin = line.find_first_not_of(kBlanks, end);
        const size_t equals = token.find('=');
        if (token[0] == '"') {
            mWords.push_back(unquoted(token, "The word"));
        } else if (equals == std::string::npos) {
            mWords.push_back(token);
        } else {
            addField(token, equals);
        }
    }
}

void CommandWords::addField(const std::string& token, size_t equals)
{
    const std::string name = token.substr(0, equals);
    if (name.empty()) {
        fail("A field has no name: " + quote(token) + ".");
    }
    const std::string written = token.substr(equals + 1);
    const FieldValue value{unquoted(written, "The field " + quote(name)), written};
    if (!mFields.emplace(name, value).second) {
        fail("The field " + quote(name) + " is given twice.");
    }
}

/// The text that @p written means, which is @p what; quotation marks that are not as JSON has them are a
/// mistake.
std::string CommandWords::unquoted(const std::string& written, const std::string& what)
{
    if (!written.starts_with('"')) {
        return written;
    }
    const JsonPtr json(json_loadb(written.data(), written.size(), JSON_DECODE_ANY, nullptr));
    if (!json_is_string(json.get())) {
        fail(what + " is no text in quotation marks, as JSON has it: " + written + ".");
        return written;
    }
    return {json_string_value(json.get()), json_string_length(json.get())};
}

std::optional<std::string> CommandWords::nextWord()
{
    return mNext == mWords.size() ? std::nullopt : std::make_optional(mWords[mNext++]);
}

std::optional<FieldValue> CommandWords::field(const std::string& name)
{
    const auto node = mFields.extract(name);
    return node ? std::make_optional(node.mapped()) : std::nullopt;
}

std::optional<std::string> CommandWords::text(const std::string& name)
{
    const std::optional<FieldValue> value = field(name);
    return value ? std::make_optional(value->text) : std::nullopt;
}

std::optional<uint32_t> CommandWords::number(const std::string& name, uint32_t min, uint32_t max)
{
    const std::optional<std::string> value = text(name);
    const std::optional<uint32_t> number = value ? parseNumber(*value, min, max) : std::nullopt;
    if (value && !number) {
        fail(numberMistake(name, *value, min, max));
    }
    return number;
}

std::optional<float> CommandWords::real(const std::string& name)
{
    const std::optional<std::string> value = text(name);
    const std::optional<float> number = value ? parseAnyFloat(*value) : std::nullopt;
    if (value && !number) {
        fail(name + " is neither a decimal number that a float can hold nor nan, inf or -inf: " +
             quote(*value) + ".");
    }
    return number;
}

std::string CommandWords::finish()
{
    if (!mMissing.empty() && mFields.empty()) {
        fail(mSubject + " needs the field " + quote(mMissing) + ".");
    }
    if (const std::optional<std::string> left = nextWord()) {
        fail(mSubject + " does not take " + quote(*left) + ".");
    }
    if (!mFields.empty()) {
        fail(mSubject + " does not take the field " + quote(mFields.begin()->first) + ".");
    }
    return mMistake;
}

std::string quote(const std::string& text) { return '"' + text + '"'; }

std::string numberMistake(const std::string& name, const std::string& text, uint32_t min, uint32_t max)
{
    return name + " is not a whole number from " + std::to_string(min) + " to " + std::to_string(max) + ": " +
           quote(text) + ".";
}

} // namespace zulcommand

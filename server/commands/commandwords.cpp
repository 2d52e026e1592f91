#include "server/commands/commandwords.h"

#include <algorithm>

#include "server/io/jsonline.h"

namespace server {

namespace {

/// The position after the text in quotation marks at @p begin; the end of the line if no mark closes it.
size_t endOfMarked(const std::string& line, size_t begin)
{
    for (size_t at = begin + 1; at < line.size(); ++at) {
        if (line[at] == '\\') {
            ++at;
        } else if (line[at] == '"') {
            return at + 1;
        }
    }
    return line.size();
}

/// The position after the word or field at @p begin. Blanks in quotation marks belong to it.
size_t endOfToken(const std::string& line, size_t begin)
{
    const size_t end = std::min(line.find_first_of(kBlanks, begin), line.size());
    const size_t equals = line.find('=', begin);
    const bool marked = equals < end && equals + 1 < line.size() && line[equals + 1] == '"';
    return marked ? std::min(line.find_first_of(kBlanks, endOfMarked(line, equals + 1)), line.size()) : end;
}

} // namespace

std::string trimmed(const std::string& text)
{
    const size_t begin = text.find_first_not_of(kBlanks);
    return begin == std::string::npos ? std::string()
                                      : text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

bool isSkipped(const std::string& trimmedLine) { return trimmedLine.empty() || trimmedLine[0] == '#'; }

CommandWords::CommandWords(const std::string& line)
{
    for (size_t begin = line.find_first_not_of(kBlanks); begin != std::string::npos;) {
        const size_t end = endOfToken(line, begin);
        const std::string token = line.substr(begin, end - begin);
        begin = line.find_first_not_of(kBlanks, end);
        const size_t equals = token.find('=');
        if (equals == std::string::npos) {
            mWords.push_back(token);
        } else {
            addField(token, equals);
        }
    }
}

void CommandWords::addField(const std::string& token, size_t equals)
{
    const std::string name = token.substr(0, equals);
    FieldValue value{token.substr(equals + 1), token.substr(equals + 1)};
    if (name.empty()) {
        fail("A field has no name: " + quoted(token) + ".");
    }
    if (value.written.starts_with('"')) {
        const JsonPtr json(json_loadb(value.written.data(), value.written.size(), JSON_DECODE_ANY, nullptr));
        if (json_is_string(json.get())) {
            value.text.assign(json_string_value(json.get()), json_string_length(json.get()));
        } else {
            fail("The field " + quoted(name) +
                 " is no text in quotation marks, as JSON has it: " + value.written + ".");
        }
    }
    if (!mFields.emplace(name, value).second) {
        fail("The field " + quoted(name) + " is given twice.");
    }
}

std::string CommandWords::word() { return mNext == mWords.size() ? std::string() : mWords[mNext++]; }

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
             quoted(*value) + ".");
    }
    return number;
}

std::string CommandWords::finish()
{
    if (const std::string left = word(); !left.empty()) {
        fail("The command does not take " + quoted(left) + ".");
    }
    if (!mFields.empty()) {
        fail("The command does not take the field " + quoted(mFields.begin()->first) + ".");
    }
    return mMistake;
}

std::string quoted(const std::string& text) { return '"' + text + '"'; }

std::string numberMistake(const std::string& name, const std::string& text, uint32_t min, uint32_t max)
{
    return name + " is not a whole number from " + std::to_string(min) + " to " + std::to_string(max) + ": " +
           quoted(text) + ".";
}

} // namespace server

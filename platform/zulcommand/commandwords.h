#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zulcommand {

/// The maximum size of a command line, in bytes.
constexpr size_t kMaxCommandBytes = 4096;

/// What separates words.
constexpr const char* kBlanks = " \t\r\n\v\f";

/// @p text without the blanks at both of its ends.
std::string trimmed(const std::string& text);

/// True if the line is blank or begins with '#'.
bool isSkipped(const std::string& trimmedLine);

/// The maximum of a whole number.
constexpr uint32_t kMaxNumber = 0xFFFFFFFF;

/// The maximum time in a command or an option, in seconds.
constexpr double kMaxSeconds = 86400.0;

// These read numbers, whatever the locale. The whole text must be the number.

/// A whole number, decimal or hexadecimal after "0x", from @p min to @p max.
std::optional<uint32_t> parseNumber(std::string_view text, uint32_t min = 0, uint32_t max = kMaxNumber);

/// A decimal number that a float can hold, not NaN or infinity.
std::optional<float> parseFloat(std::string_view text);

/// The same, and also "nan", "inf" and "-inf".
std::optional<float> parseAnyFloat(std::string_view text);

/// The same as parseFloat() for a double.
std::optional<double> parseDouble(std::string_view text);

/// A time in decimal seconds from 0 to kMaxSeconds.
std::optional<double> parseSeconds(std::string_view text);

/// The value of a field.
struct FieldValue
{
    std::string text;
    std::string written; ///< as the line has it: in quotation marks, as JSON has a text, or without
};

/// Returns the sentence that says why @p line is no line of commands: it is too long, holds a NUL or is not
/// UTF-8. An empty text if it is one. The sentence begins with @p subject.
std::string lineMistake(const std::string& line, const std::string& subject = "The command");

/// Hands out the words and fields (NAME=VALUE) of one command line and keeps the first mistake in them.
///
/// A word, and the value of a field, may stand in quotation marks, written as JSON writes a text. Then it may
/// hold blanks, and a word an equals sign.
///
/// Every function may be called after a mistake, so that a caller reads everything and checks once.
class CommandWords
{
public:
    /// Sentences about the line as a whole begin with @p subject.
    explicit CommandWords(const std::string& line, std::string subject = "The command");

    // These take the next word that is no field, which is no mistake if there is none: then they return
    // nothing, or an empty text.

    std::optional<std::string> nextWord();
    std::string word() { return nextWord().value_or(""); }

    // These take the value of a field. Nothing if the line has no such field, or a wrong one.

    std::optional<FieldValue> field(const std::string& name);
    std::optional<std::string> text(const std::string& name);
    std::optional<uint32_t> number(const std::string& name, uint32_t min = 0, uint32_t max = kMaxNumber);
    std::optional<float> real(const std::string& name);

    /// The mistake that the command needs the field @p name. A field that it does not take, maybe the same
    /// one misspelt, is told before.
    void failWithout(const std::string& name) { mMissing = mMissing.empty() ? name : mMissing; }

    /// Keeps @p sentence if it is the first mistake.
    void fail(const std::string& sentence) { mMistake = mMistake.empty() ? sentence : mMistake; }

    bool failed() const { return !mMistake.empty() || !mMissing.empty(); }

    /// Returns the first mistake, or an empty text. Words and fields that are left are a mistake.
    std::string finish();

private:
    void addField(const std::string& token, size_t equals);
    std::string unquoted(const std::string& written, const std::string& what);

    const std::string mSubject;
    std::vector<std::string> mWords;
    size_t mNext = 0;
    std::map<std::string, FieldValue> mFields;
    std::string mMistake;
    std::string mMissing; ///< the first field that is missing
};

/// @p text in quotation marks.
std::string quote(const std::string& text);

/// The sentence that @p name is not a whole number from @p min to @p max.
std::string numberMistake(const std::string& name, const std::string& text, uint32_t min = 0,
                          uint32_t max = kMaxNumber);

} // namespace zulcommand

#ifndef SERVER_COMMANDWORDS_H
#define SERVER_COMMANDWORDS_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace server {

/// What separates words.
constexpr const char* kBlanks = " \t\r\n\v\f";

/// The value of a field.
struct FieldValue
{
    std::string text;
    std::string written;  ///< the text as the line has it
    bool inMarks = false; ///< written in quotation marks, as JSON has a text
};

/// Hands out the words and fields (NAME=VALUE) of one command line and keeps the first mistake in them.
///
/// Every function may be called after a mistake, so that a caller reads everything and checks once.
class CommandWords
{
public:
    explicit CommandWords(const std::string& line);

    /// Takes the next word that is no field; an empty text, and no mistake, if there is none.
    std::string word();

    /// Takes the value of a field; false if the line has no such field.
    bool field(const std::string& name, std::string* value);
    bool field(const std::string& name, FieldValue* value);

    /// Takes a number from @p min to @p max; false if the field is absent or wrong.
    bool number(const std::string& name, uint32_t min, uint32_t max, uint32_t* value);
    bool real(const std::string& name, float* value);

    /// Keeps @p sentence if it is the first mistake.
    void fail(const std::string& sentence);

    /// Returns the first mistake, or an empty text. Words and fields that are left are a mistake.
    std::string finish();

    bool failed() const { return !mMistake.empty(); }

private:
    void addField(const std::string& token, size_t equals);
    bool readMarked(FieldValue* value);

    std::vector<std::string> mWords;
    size_t mNext = 0;
    std::map<std::string, FieldValue> mFields;
    std::string mMistake;
};

/// @p text in quotation marks.
std::string quoted(const std::string& text);

/// The sentence that @p name is not a whole number from @p min to @p max.
std::string numberMistake(const std::string& name, const std::string& text, uint32_t min, uint32_t max);

} // namespace server

#endif

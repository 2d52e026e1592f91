#ifndef SERVER_COMMANDWORDS_H
#define SERVER_COMMANDWORDS_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace server {

/// What stands behind the "=" of a field.
struct FieldValue
{
    std::string text;
    std::string written;  ///< the same as the line has it
    bool inMarks = false; ///< written in quotation marks, as JSON has a text
};

/// Hands out the words and fields (NAME=VALUE) of one command line and keeps the first mistake in them.
///
/// Every function is harmless after a mistake, so a caller reads all it wants and asks once at the end.
class CommandWords
{
public:
    explicit CommandWords(const std::string& line);

    /// Takes the next word that is no field; an empty text, and no mistake, where there is none.
    std::string word();

    /// Takes a field's value into @p *value; false where the line has no such field.
    bool field(const std::string& name, std::string* value);
    bool field(const std::string& name, FieldValue* value);

    /// Takes a number from @p least to @p most; false where the field is absent or wrong.
    bool number(const std::string& name, uint32_t least, uint32_t most, uint32_t* value);
    bool real(const std::string& name, float* value);

    /// Like field(), and its absence is a mistake.
    bool required(const std::string& name, std::string* value);

    /// Notes a mistake, one sentence; only the first is kept.
    void fail(const std::string& sentence);

    /// Ends the reading: words and fields that nobody took are a mistake. Returns the first mistake, or an
    /// empty text.
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

/// The sentence that @p name is not a whole number from @p least to @p most.
std::string numberMistake(const std::string& name, const std::string& text, uint32_t least, uint32_t most);

} // namespace server

#endif

#pragma once

#include <string>
#include <string_view>

namespace zulscenario {

/// The first mistake in a file, with its place.
///
/// Every function of a reader may go on after a mistake, so that a caller reads everything and checks once.
class Mistakes
{
public:
    /// @p content outlives this.
    Mistakes(std::string name, std::string_view content);

    /// Keeps @p sentence if it is the first mistake. @p offset is that of the wrong byte.
    void fail(size_t offset, const std::string& sentence);

    /// The same for the word @p word of the line behind @p offset, or for the offset if it is not there.
    void failAt(size_t offset, std::string_view word, const std::string& sentence);

    /// The same for a mistake in another file, whose text() is @p text.
    void failElsewhere(const std::string& text);

    bool failed() const { return !mText.empty(); }

    /// "NAME:LINE:COLUMN: SENTENCE", from 1, in characters; an empty text if there is no mistake.
    const std::string& text() const { return mText; }

private:
    const std::string mName;
    const std::string_view mContent;
    std::string mText;
};

/// The line of a file's byte, from 1.
size_t lineOf(std::string_view content, size_t offset);

/// A mistake if @p content is no text in UTF-8.
void checkText(std::string_view content, Mistakes* mistakes);

/// @p text as a sentence quotes it: its beginning, on one line.
std::string excerpt(std::string_view text);

} // namespace zulscenario

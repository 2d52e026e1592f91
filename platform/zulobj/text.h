#pragma once

#include <compare>
#include <string>
#include <string_view>

/// A text field of a record, in which a text never set (null) differs from an empty one.
class cText
{
public:
    /// The text, NUL-terminated and owned by this object until the next set(); null if it was never set.
    const char* get() const { return mSet ? mText.c_str() : nullptr; }

    /// Copies @p text; null makes the field a text never set again.
    void set(const char* text) { text == nullptr ? clear() : set(std::string_view(text)); }

    /// Copies @p text up to a NUL in it.
    void set(std::string_view text)
    {
        mText.assign(text.substr(0, text.find('\0')));
        mSet = true;
    }

    /// Makes the field a text never set again.
    void clear()
    {
        mText.clear();
        mSet = false;
    }

    bool isSet() const { return mSet; }

    /// The text's bytes; none if it was never set.
    std::string_view bytes() const { return mText; }

    /// A text never set comes before every other.
    friend auto operator<=>(const cText&, const cText&) = default;

private:
    bool mSet = false;
    std::string mText; ///< empty if it was never set
};

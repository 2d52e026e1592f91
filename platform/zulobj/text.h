#ifndef ZULOBJ_TEXT_H
#define ZULOBJ_TEXT_H

#include <optional>
#include <string>
#include <string_view>

/// A text field of a record: it tells a text never set (null) from an empty one.
class cText
{
public:
    /// The text, NUL-terminated and owned by this object until the next set(); null when never set.
    const char* get() const { return mText ? mText->c_str() : nullptr; }

    /// Copies @p text; null makes the field a text never set again.
    void set(const char* text);

    /// Copies the first @p size bytes at @p text, or those before a NUL among them.
    void set(const char* text, size_t size);

    /// Makes the field a text never set again.
    void clear() { mText.reset(); }

    bool isSet() const { return mText.has_value(); }

    /// The text's bytes, or none where it was never set.
    std::string_view bytes() const { return mText ? std::string_view(*mText) : std::string_view(); }

    bool operator==(const cText& other) const { return mText == other.mText; }
    bool operator<(const cText& other) const { return mText < other.mText; }

private:
    std::optional<std::string> mText;
};

#endif

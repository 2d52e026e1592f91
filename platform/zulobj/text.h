#ifndef ZULOBJ_TEXT_H
#define ZULOBJ_TEXT_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

/// A text field of a record: it tells a text never set (null) from an empty one.
///
/// A short text, as labels are, lies in the field itself, so that copying it takes no memory.
class cText
{
public:
    /// Room for a text in the field itself, its NUL included.
    static constexpr size_t kShortRoom = 16;

    cText() = default;
    cText(const cText& other) { *this = other; }
    // A text that becomes itself is copied to where it is.
    cText& operator=(const cText& other) // NOLINT(bugprone-unhandled-self-assignment)
    {
        if (mLong != nullptr || other.mLong != nullptr) {
            assign(other);
        } else {
            mSize = other.mSize;
            std::memcpy(mShort, other.mShort, kShortRoom);
        }
        return *this;
    }
    ~cText() = default;

    /// The text, NUL-terminated and owned by this object until the next set(); null when never set.
    const char* get() const { return isSet() ? data() : nullptr; }

    /// Copies @p text; null makes the field a text never set again.
    void set(const char* text);

    /// Copies the first @p size bytes at @p text, or those before a NUL among them.
    void set(const char* text, size_t size);

    /// Makes the field a text never set again.
    void clear()
    {
        if (isSet()) {
            mLong.reset();
            mSize = kNeverSet;
        }
    }

    bool isSet() const { return mSize != kNeverSet; }

    /// The text's bytes, or none where it was never set.
    std::string_view bytes() const { return isSet() ? std::string_view(data(), mSize) : std::string_view(); }

    /// True for a text of less than kShortRoom bytes and for one never set.
    bool isShort() const { return mLong == nullptr; }

    /// bytes() of a short text that is set; kShortRoom bytes may be read there.
    std::string_view shortBytes() const { return {mShort, mSize}; }

    bool operator==(const cText& other) const { return isSet() == other.isSet() && bytes() == other.bytes(); }
    bool operator<(const cText& other) const
    {
        return isSet() == other.isSet() ? bytes() < other.bytes() : other.isSet();
    }

private:
    static constexpr size_t kNeverSet = SIZE_MAX;

    const char* data() const { return mLong != nullptr ? mLong.get() : mShort; }
    void assign(const cText& other);

    size_t mSize = kNeverSet;
    std::unique_ptr<char[]> mLong; ///< null while the text fits mShort
    char mShort[kShortRoom] = {};
};

#endif

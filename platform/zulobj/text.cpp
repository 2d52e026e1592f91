#include "zulobj/text.h"

#include <utility>

namespace {

/// How much is taken for a long text, its NUL included: the same for texts of about the same size, so that
/// one can take the other's place.
size_t longRoom(size_t size)
{
    constexpr size_t kStep = 64;
    return (size / kStep + 1) * kStep;
}

} // namespace

void cText::set(const char* text)
{
    if (text == nullptr) {
        clear();
    } else {
        set(text, std::strlen(text));
    }
}

void cText::set(const char* text, size_t size)
{
    // No bytes may come as a null pointer, which strnlen() must not see.
    const size_t length = size == 0 ? 0 : strnlen(text, size);
    std::unique_ptr<char[]> former; // may hold the bytes at text
    if (length < kShortRoom) {
        former = std::move(mLong);
    } else if (mLong == nullptr || longRoom(length) != longRoom(mSize)) {
        former = std::exchange(mLong, std::unique_ptr<char[]>(new char[longRoom(length)]));
    }
    char* to = mLong != nullptr ? mLong.get() : mShort;
    if (length > 0) {
        std::memmove(to, text, length);
    }
    to[length] = '\0';
    mSize = length;
}

void cText::assign(const cText& other)
{
    if (other.isSet()) {
        set(other.data(), other.mSize);
    } else {
        clear();
    }
}

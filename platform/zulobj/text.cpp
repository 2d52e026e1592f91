#include "zulobj/text.h"

#include <cstring>

void cText::set(const char* text)
{
    if (text == nullptr) {
        mText.reset();
    } else {
        mText = text;
    }
}

void cText::set(const char* text, size_t size)
{
    // No bytes may come as a null pointer, which strnlen() must not see.
    mText = size == 0 ? std::string() : std::string(text, strnlen(text, size));
}

const std::string& cText::bytes() const
{
    static const std::string none;
    return mText ? *mText : none;
}

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

void cText::set(const char* text, size_t size) { mText = std::string(text, strnlen(text, size)); }

const std::string& cText::bytes() const
{
    static const std::string none;
    return mText ? *mText : none;
}

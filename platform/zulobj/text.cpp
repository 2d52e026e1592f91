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
    const size_t length = size == 0 ? 0 : strnlen(text, size);
    if (mText) {
        mText->assign(length == 0 ? "" : text, length);
    } else {
        mText.emplace(length == 0 ? "" : text, length);
    }
}

#include "zulobj/text.h"

void cText::set(const char* text)
{
    if (text == nullptr) {
        clear();
    } else {
        set(std::string_view(text));
    }
}

void cText::set(std::string_view text)
{
    mText.assign(text.substr(0, text.find('\0'))); // the field itself may hold these bytes
    mSet = true;
}

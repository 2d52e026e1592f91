#include "zulobj/taglist.h"

#include <cstring>

#include "wmsg/wbytes.h"

void cTagList::addNumber(uint16_t tag, uint32_t value)
{
    uint8_t bytes[4];
    wmsg::put32(bytes, value);
    mTags.push_back(std::make_unique<WTag>(tag, bytes, sizeof bytes));
}

void cTagList::addFloat(uint16_t tag, float value)
{
    uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    addNumber(tag, bits);
}

void cTagList::addText(uint16_t tag, std::string_view text)
{
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    mTags.push_back(std::make_unique<WTag>(tag, bytes, text.size()));
}

std::vector<WTag*> cTagList::pointers() const
{
    std::vector<WTag*> pointers;
    pointers.reserve(mTags.size());
    for (const std::unique_ptr<WTag>& tag : mTags) {
        pointers.push_back(tag.get());
    }
    return pointers;
}

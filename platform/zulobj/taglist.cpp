#include "zulobj/taglist.h"

std::vector<WTag*> cTagList::pointers() const
{
    std::vector<WTag*> pointers;
    for (const std::unique_ptr<WTag>& tag : mTags) {
        pointers.push_back(tag.get());
    }
    return pointers;
}

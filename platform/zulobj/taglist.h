#ifndef ZULOBJ_TAGLIST_H
#define ZULOBJ_TAGLIST_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "wmsg/wtag.h"

/// The tags of one record as objects of their own; the list owns them.
class cTagList
{
public:
    void addNumber(uint16_t tag, uint32_t value);
    void addFloat(uint16_t tag, float value);
    void addText(uint16_t tag, std::string_view text);

    size_t size() const { return mTags.size(); }
    const WTag& at(size_t index) const { return *mTags.at(index); }

    /// Borrowed pointers in the list's order, in the form that cObject::parse() takes.
    std::vector<WTag*> pointers() const;

private:
    std::vector<std::unique_ptr<WTag>> mTags;
};

#endif

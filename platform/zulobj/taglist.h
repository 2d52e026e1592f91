#pragma once

#include <memory>
#include <vector>

#include "wmsg/wpayload.h"
#include "wmsg/wtag.h"

/// The tags of one record; the list owns them.
class cTagList
{
public:
    void add(const WTagView& tag) { mTags.push_back(std::make_unique<WTag>(tag.number, tag.value)); }

    size_t size() const { return mTags.size(); }
    const WTag& at(size_t index) const { return *mTags.at(index); }

    /// Borrowed pointers in the list's order, in the form that cObject::parse() takes.
    std::vector<WTag*> pointers() const;

private:
    std::vector<std::unique_ptr<WTag>> mTags;
};

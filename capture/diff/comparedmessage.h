#pragma once

#include <bitset>
#include <cstdint>
#include <vector>

#include "capture/sessions/recordeditem.h"
#include "zulobj/objectlist.h"

namespace capture {

/// A message, as far as it is compared with others.
struct ComparedMessage
{
    uint64_t content = 0; ///< the same for two messages without a difference
    uint64_t shape = 0;   ///< the same for messages of one type about the same ports
    int64_t timeNs = 0;
    WMsg message = {};
};

/// Makes recorded messages comparable: in the form that "show" prints, without the fields that do not count.
class MessageComparer
{
public:
    using Tags = std::bitset<64>;

    /// Numbers that count messages and samples never count.
    explicit MessageComparer(const Tags& ignored);

    ComparedMessage operator()(RecordedItem item);

    bool counts(uint16_t tag) const { return tag >= mIgnored.size() || !mIgnored[tag]; }

private:
    void add(const cObject& record);

    Tags mIgnored;
    cObjectList mList;
    std::vector<uint8_t> mRecord;
    std::vector<uint8_t> mContent;
    std::vector<uint8_t> mShape;
};

} // namespace capture

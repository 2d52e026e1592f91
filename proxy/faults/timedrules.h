#pragma once

#include <cstdint>
#include <vector>

#include "proxy/faults/parcel.h"

namespace proxy {

/// Rules, by number, each of which holds something until a time.
class TimedRules
{
public:
    struct Entry
    {
        uint32_t rule = 0; ///< 0 for a command
        int64_t untilNs = kNeverNs;
    };

    void add(uint32_t rule, int64_t untilNs) { mEntries.push_back({rule, untilNs}); }
    bool empty() const { return mEntries.empty(); }
    const std::vector<Entry>& entries() const { return mEntries; }
    void clear() { mEntries.clear(); }

    /// Takes out the first entry whose time has come. False if there is none.
    bool takeDue(int64_t nowNs, Entry* entry)
    {
        for (auto each = mEntries.begin(); each != mEntries.end(); ++each) {
            if (each->untilNs <= nowNs) {
                *entry = *each;
                mEntries.erase(each);
                return true;
            }
        }
        return false;
    }

    void dropDue(int64_t nowNs)
    {
        std::erase_if(mEntries, [nowNs](const Entry& entry) { return entry.untilNs <= nowNs; });
    }

    /// Drops the rules for which @p isCleared is true.
    template <class Condition>
    void dropCleared(Condition isCleared)
    {
        std::erase_if(mEntries, [&](const Entry& entry) { return entry.rule != 0 && isCleared(entry.rule); });
    }

    /// kNeverNs if nothing is timed.
    int64_t next() const
    {
        int64_t first = kNeverNs;
        for (const Entry& entry : mEntries) {
            first = entry.untilNs < first ? entry.untilNs : first;
        }
        return first;
    }

private:
    std::vector<Entry> mEntries;
};

} // namespace proxy

#include "proxy/commands/faultlog.h"

#include <algorithm>
#include <utility>

namespace proxy {

namespace {

template <class Value, class Other>
bool allows(const std::optional<Value>& wanted, const Other& value)
{
    return !wanted || *wanted == value;
}

} // namespace

void FaultLog::add(Fault fault)
{
    ++mCounts[fault.kind];
    mEntries.push_back({mAdded++, std::move(fault)});
    if (mEntries.size() > mMaxFaults) {
        mEntries.pop_front();
    }
    for (Listener* listener : mListeners) {
        listener->faultAdded();
    }
}

std::optional<Fault> FaultLog::take(const Filter& filter, uint64_t* since)
{
    const auto begin = std::ranges::lower_bound(mEntries, *since, {}, &Entry::id);
    const auto found =
        std::find_if(begin, mEntries.end(), [&](const Entry& entry) { return matches(filter, entry.fault); });
    if (found == mEntries.end()) {
        *since = mAdded;
        return std::nullopt;
    }
    Fault fault = std::move(found->fault);
    mEntries.erase(found);
    return fault;
}

bool FaultLog::matches(const Filter& filter, const Fault& fault)
{
    return filter.kind == fault.kind && allows(filter.rule, fault.rule) &&
           allows(filter.connection, fault.connection) && allows(filter.deviceSerial, fault.deviceSerial) &&
           allows(filter.direction, fault.direction) && allows(filter.msgSeq, fault.msgSeq) &&
           allows(filter.object, fault.object);
}

} // namespace proxy

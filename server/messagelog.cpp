#include "server/messagelog.h"

#include <algorithm>
#include <utility>

#include "wmsg/wpayload.h"

namespace server {

namespace {

bool hasObject(const WMsg& message, uint32_t type)
{
    WObjectReader reader(message.payload.data(), message.payload.size());
    WendleObject object;
    while (reader.next(&object)) {
        if (object.type == type) {
            return true;
        }
    }
    return false;
}

} // namespace

void MessageLog::add(uint32_t deviceSerial, WMsg message)
{
    message.payload.shrink_to_fit();
    mPayloadBytes += message.payload.size();
    mEntries.push_back({mAdded++, deviceSerial, std::move(message)});
    while (mEntries.size() > mLimits.messages || mPayloadBytes > mLimits.payloadBytes) {
        mPayloadBytes -= mEntries.front().message.payload.size();
        mEntries.pop_front();
    }
}

bool MessageLog::take(const Filter& filter, uint64_t since, WMsg* message)
{
    const auto begin = std::lower_bound(mEntries.begin(), mEntries.end(), since,
                                        [](const Entry& entry, uint64_t id) { return entry.id < id; });
    const auto found =
        std::find_if(begin, mEntries.end(), [&filter](const Entry& entry) { return matches(filter, entry); });
    if (found == mEntries.end()) {
        return false;
    }
    mPayloadBytes -= found->message.payload.size();
    *message = std::move(found->message);
    mEntries.erase(found);
    return true;
}

bool MessageLog::matches(const Filter& filter, const Entry& entry)
{
    return (!filter.deviceSerial || *filter.deviceSerial == entry.deviceSerial) &&
           (!filter.objectType || hasObject(entry.message, *filter.objectType));
}

} // namespace server

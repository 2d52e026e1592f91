#include "zulcommand/messagelog.h"

#include <algorithm>
#include <utility>

#include "wmsg/wpayload.h"
#include "zulcommand/reply.h"
#include "zulobj/recordfactory.h"

namespace zulcommand {

namespace {

bool allHold(const Conditions& conditions, WendleObject object)
{
    const std::unique_ptr<cObject> record = zulobj::createRecord(static_cast<eObjectTypes>(object.type));
    return record->parse(&object, nullptr).isOk() && allHold(conditions, JsonPtr(record->getJSONObj()).get());
}

} // namespace

bool hasObject(const WMsg& message, uint32_t type, const Conditions& conditions)
{
    WObjectReader reader(message.payload);
    WendleObject object;
    while (reader.next(&object)) {
        if (object.type == type && (conditions.empty() || allHold(conditions, object))) {
            return true;
        }
    }
    return false;
}

void MessageLog::add(uint32_t deviceSerial, WMsg message, std::string peer)
{
    message.payload.shrink_to_fit();
    mPayloadBytes += message.payload.size();
    mEntries.push_back({mAdded++, deviceSerial, std::move(message), std::move(peer)});
    while (mEntries.size() > mLimits.messages || mPayloadBytes > mLimits.payloadBytes) {
        mPayloadBytes -= mEntries.front().message.payload.size();
        mEntries.pop_front();
    }
}

bool MessageLog::take(const Filter& filter, uint64_t since, WMsg* message)
{
    const auto found = search(filter, since);
    if (found == mEntries.end()) {
        return false;
    }
    *message = found->message;
    mPayloadBytes -= message->payload.size();
    mEntries.erase(found);
    return true;
}

const WMsg* MessageLog::find(const Filter& filter, uint64_t since) const
{
    const auto found = search(filter, since);
    return found == mEntries.end() ? nullptr : &found->message;
}

MessageLog::Latest MessageLog::latest(const Filter& filter, size_t max, size_t payloadBytes) const
{
    Latest latest;
    size_t left = payloadBytes;
    for (auto entry = mEntries.rbegin(); entry != mEntries.rend(); ++entry) {
        const size_t size = entry->message.payload.size();
        if (!matches(filter, *entry)) {
            continue;
        }
        if (latest.all == latest.entries.size() && latest.all < max && size <= left) {
            left -= size;
            latest.entries.push_front(&*entry);
        }
        ++latest.all;
    }
    return latest;
}

void MessageLog::clear()
{
    mEntries.clear();
    mPayloadBytes = 0;
}

MessageLog::Entries::const_iterator MessageLog::search(const Filter& filter, uint64_t since) const
{
    const auto begin = std::ranges::lower_bound(mEntries, since, {}, &Entry::id);
    return std::find_if(begin, mEntries.end(),
                        [&filter](const Entry& entry) { return matches(filter, entry); });
}

bool MessageLog::matches(const Filter& filter, const Entry& entry)
{
    return (!filter.deviceSerial || *filter.deviceSerial == entry.deviceSerial) &&
           (!filter.peer || *filter.peer == entry.peer) &&
           (!filter.objectType || hasObject(entry.message, *filter.objectType, filter.conditions));
}

} // namespace zulcommand

#include "zulobj/outqueue.h"

#include <algorithm>
#include <utility>

size_t cOutQueue::cost(const Entry& entry) { return entry.message.payload.size() + sizeof(Entry); }

void cOutQueue::count(const Entry& entry, bool added)
{
    size_t& bytes = entry.connection == kAnyConnection ? mEventBytes : mConnectionBytes;
    bytes = added ? bytes + cost(entry) : bytes - cost(entry);
}

void cOutQueue::push(Entry entry)
{
    count(entry, true);
    mEntries.push_back(std::move(entry));
    trim();
}

void cOutQueue::pushFront(Entry entry)
{
    count(entry, true);
    mEntries.push_front(std::move(entry));
    trim();
}

bool cOutQueue::pop(Entry* entry)
{
    if (mEntries.empty()) {
        return false;
    }
    *entry = std::move(mEntries.front());
    mEntries.pop_front();
    count(*entry, false);
    return true;
}

void cOutQueue::dropOthers(uint64_t connection)
{
    const auto first = std::remove_if(mEntries.begin(), mEntries.end(), [&](const Entry& entry) {
        const bool other = entry.connection != kAnyConnection && entry.connection != connection;
        if (other) {
            count(entry, false);
        }
        return other;
    });
    mEntries.erase(first, mEntries.end());
}

void cOutQueue::dropRequest(const cMsgReg* request)
{
    const auto found = std::find_if(mEntries.begin(), mEntries.end(),
                                    [request](const Entry& entry) { return entry.request == request; });
    if (found != mEntries.end()) {
        count(*found, false);
        mEntries.erase(found);
    }
}

uint64_t cOutQueue::takeDropped() { return std::exchange(mDropped, 0); }

void cOutQueue::trim()
{
    while (mEventBytes > mMaxBytes) {
        const auto oldest = std::find_if(mEntries.begin(), mEntries.end(), [](const Entry& entry) {
            return entry.connection == kAnyConnection && entry.request == nullptr;
        });
        if (oldest == mEntries.end()) {
            return;
        }
        count(*oldest, false);
        mEntries.erase(oldest);
        ++mDropped;
    }
}

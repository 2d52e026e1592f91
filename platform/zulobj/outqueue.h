#ifndef ZULOBJ_OUTQUEUE_H
#define ZULOBJ_OUTQUEUE_H

#include <cstdint>
#include <deque>

#include "wmsg/wmsg.h"

struct cMsgReg;

/// Holds the messages that wait to be sent, in order and bounded in bytes.
///
/// An event waits for the next connection while the link is down; an answer or a ping belongs to one
/// connection and is worth nothing on another. It has no lock of its own.
class cOutQueue
{
public:
    /// Belongs to whichever connection comes.
    static constexpr uint64_t kAnyConnection = 0;

    struct Entry
    {
        WMsg message;
        uint64_t connection = kAnyConnection;
        bool numbered = false;      ///< the sequence number has been given
        cMsgReg* request = nullptr; ///< the outstanding request that this message is; borrowed
        size_t sentBytes = 0;       ///< how much of its segments its connection has got
    };

    explicit cOutQueue(size_t maxBytes) : mMaxBytes(maxBytes) {}

    /// Appends @p entry. Where the events would then hold more than the bound, the oldest are dropped.
    void push(Entry entry);

    /// Puts back what could not be sent, in front of everything else.
    void pushFront(Entry entry);

    /// Takes the oldest entry into @p *entry; false when there is none.
    bool pop(Entry* entry);

    /// Drops the entries of other connections than @p connection that belong to one.
    void dropOthers(uint64_t connection);

    /// Drops the entry of an outstanding request that nobody waits for any longer.
    void dropRequest(const cMsgReg* request);

    bool empty() const { return mEntries.empty(); }

    /// The bytes of all entries that belong to a connection.
    size_t connectionBytes() const { return mConnectionBytes; }

    /// How many events were dropped since the last call.
    uint64_t takeDropped();

private:
    static size_t cost(const Entry& entry);
    void count(const Entry& entry, bool added);
    void trim();

    size_t mMaxBytes;
    std::deque<Entry> mEntries;
    size_t mEventBytes = 0;
    size_t mConnectionBytes = 0;
    uint64_t mDropped = 0;
};

#endif

#ifndef SERVER_MESSAGELOG_H
#define SERVER_MESSAGELOG_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "server/commands/condition.h"
#include "wmsg/wmsg.h"

namespace server {

/// Keeps the messages of all devices that nobody has taken yet, the latest ones.
class MessageLog
{
public:
    struct Limits
    {
        size_t messages = 100000;
        size_t payloadBytes = 16 * 1024 * 1024;
    };

    /// Which message is meant: what is not given matches all.
    struct Filter
    {
        std::optional<uint32_t> deviceSerial;
        std::optional<uint32_t> objectType; ///< that of one of its objects at least
        Conditions conditions;              ///< for the same object; they need an objectType
    };

    struct Entry
    {
        uint64_t id; ///< what added() was before
        uint32_t deviceSerial;
        WMsg message;
    };

    /// The latest of those that were asked for.
    struct Latest
    {
        size_t all = 0;                    ///< how many there are
        std::vector<const Entry*> entries; ///< oldest first; valid until the log changes
    };

    MessageLog() = default;
    explicit MessageLog(const Limits& limits) : mLimits(limits) {}

    /// Appends @p message; the oldest ones go where there are then too many.
    void add(uint32_t deviceSerial, WMsg message);

    /// Moves the earliest message that matches into @p *message, looking only at those added since
    /// added() was @p since. False when there is none.
    bool take(const Filter& filter, uint64_t since, WMsg* message);

    /// Like take(), but the message stays; null when there is none.
    const WMsg* find(const Filter& filter, uint64_t since) const;

    /// The latest messages that match: as many as have @p most messages and @p payloadBytes at most.
    Latest latest(const Filter& filter, size_t most, size_t payloadBytes) const;

    /// Takes all messages.
    void clear();

    /// How many messages have been added.
    uint64_t added() const { return mAdded; }

private:
    using Entries = std::deque<Entry>;

    static bool matches(const Filter& filter, const Entry& entry);
    Entries::const_iterator search(const Filter& filter, uint64_t since) const;

    Limits mLimits;
    Entries mEntries;
    size_t mPayloadBytes = 0;
    uint64_t mAdded = 0;
};

} // namespace server

#endif

#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "wmsg/wmsg.h"
#include "zulcommand/condition.h"

namespace zulcommand {

/// True if @p message has an object of @p type for which @p conditions hold.
bool hasObject(const WMsg& message, uint32_t type, const Conditions& conditions);

/// Keeps the latest messages of all devices until a command takes them.
class MessageLog
{
public:
    struct Limits
    {
        size_t messages = 100000;
        size_t payloadBytes = 16 * 1024 * 1024;
    };

    /// Selects messages; a member without a value matches all.
    struct Filter
    {
        std::optional<uint32_t> deviceSerial;
        std::optional<uint32_t> objectType;   ///< of at least one of its objects
        Conditions conditions;                ///< for the same object; they need an objectType
        std::optional<std::string> peer = {}; ///< "ADDRESS:PORT"
    };

    struct Entry
    {
        uint64_t id; ///< the value of added() before
        uint32_t deviceSerial;
        WMsg message;
        std::string peer;
    };

    /// The latest messages that match.
    struct Latest
    {
        size_t all = 0;                   ///< how many match
        std::deque<const Entry*> entries; ///< oldest first; valid until the log changes
    };

    MessageLog() = default;
    explicit MessageLog(const Limits& limits) : mLimits(limits) {}

    /// Appends @p message and drops the oldest ones beyond the limits. @p peer is the other end of the
    /// connection that it came over; empty if there is only one.
    void add(uint32_t deviceSerial, WMsg message, std::string peer = {});

    /// Moves the earliest message that matches, of those added since added() was @p since, into @p *message.
    /// False if there is none.
    bool take(const Filter& filter, uint64_t since, WMsg* message);

    /// Like take(), but the message stays. Null if there is none.
    const WMsg* find(const Filter& filter, uint64_t since) const;

    /// The latest messages that match, up to @p max messages and @p payloadBytes.
    Latest latest(const Filter& filter, size_t max, size_t payloadBytes) const;

    /// Removes all messages.
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

} // namespace zulcommand

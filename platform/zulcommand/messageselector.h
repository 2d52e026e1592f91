#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "zulcommand/commandwords.h"
#include "zulcommand/messagerecords.h"
#include "zulcommand/verb.h"

namespace zulcommand {

/// Which way a message goes.
enum class eDirection : uint8_t
{
    TO_SERVER,
    TO_DEVICE
};

constexpr eDirection kDirections[] = {eDirection::TO_SERVER, eDirection::TO_DEVICE};

/// "to-server" or "to-device".
const char* nameOf(eDirection direction);

/// Devices by serial number.
struct DeviceRange
{
    uint32_t first = 0;
    uint32_t last = 0xFFFFFFFF;

    bool has(uint32_t serial) const { return serial >= first && serial <= last; }
    bool operator==(const DeviceRange&) const = default;
};

/// Selects messages by what they are; a member without a value matches all.
struct MessageSelector
{
    enum eMessage : uint8_t
    {
        GET, ///< a request
        SET,
        EVENT,
        ANSWER, ///< to a request or a set
        PING    ///< or the answer to one
    };

    std::optional<eDirection> direction = {};
    std::optional<DeviceRange> devices = {};
    std::optional<eMessage> message = {};
    std::optional<uint8_t> type = {};
    std::optional<uint32_t> object = {};
    std::optional<uint32_t> port = {}; ///< portId or portNum

    bool operator==(const MessageSelector&) const = default;
};

// These take the value of one field. Nothing if the line has no such field, or a wrong one, which is a
// mistake in the words.

std::optional<eDirection> readDirection(CommandWords* words);

/// The field "object", a type.
std::optional<uint32_t> readObjectField(CommandWords* words);

/// Takes the fields "msg", "type", "object" and "port".
void readMessages(CommandWords* words, MessageSelector* selector);

/// SERIAL, or A-B with A no larger than B.
std::optional<DeviceRange> parseDevices(const std::string& text);

/// True if a record of the type has a field that @p isWanted, or if nothing is known about the type.
template <class Predicate>
bool mayHave(uint32_t objectType, Predicate isWanted)
{
    bool known = false;
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        if (hasField(objectType, entry.name)) {
            known = true;
            if (isWanted(entry)) {
                return true;
            }
        }
    }
    return !known;
}

/// One sentence if fields that are right by themselves contradict each other, or an empty text.
std::string contradictionIn(const MessageSelector& selector);

/// The message type of requests, of sets, or of events; the others may have any.
std::optional<uint8_t> typeOf(MessageSelector::eMessage message);

/// True if msg= and type= do not rule out messages with the flags @p flags of their header.
bool choosesFlags(const MessageSelector& selector, uint8_t flags);

/// True if msg= and type= choose messages with these flags and this type.
bool choosesHeader(const MessageSelector& selector, uint8_t flags, uint8_t type);

/// True if object= and port= choose @p record.
bool choosesObject(const MessageSelector& selector, const WendleObject& record);

} // namespace zulcommand

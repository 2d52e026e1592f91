#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "wmsg/wpayload.h"
#include "zuldict/zuldict.h"

// What the records of a message tell where they stand in its payload.
namespace zulcommand {

/// Replaces @p *records by those of @p payload, which they point into. False if it is not made of objects and
/// tags.
bool readRecords(std::span<const uint8_t> payload, std::vector<WendleObject>* records);

/// True if a tag of @p record meets the condition.
template <class Condition>
bool anyTag(const WendleObject& record, Condition holds)
{
    WTagReader reader(record.tags);
    for (WTagView tag; reader.next(&tag);) {
        if (holds(tag)) {
            return true;
        }
    }
    return false;
}

/// Finds the value of the last tag @p tag of @p record. False if there is none.
bool findTag(const WendleObject& record, uint16_t tag, std::span<const uint8_t>* value);

/// Reads the number of a port, if @p tag has one.
inline bool readPort(const WTagView& tag, uint32_t* port)
{
    return (tag.number == TAG_PORT_ID || tag.number == TAG_PORT_NUM) && wmsg::getNumber(tag.value, port);
}

bool hasPort(const WendleObject& record, uint32_t port);

/// The serial number that the records tell: the first one that is not that of every device.
std::optional<uint32_t> deviceSerialIn(std::span<const WendleObject> records);

} // namespace zulcommand

#pragma once

#include <optional>
#include <span>
#include <vector>

#include "proxy/faults/messagecutter.h"
#include "proxy/faults/segmentheader.h"
#include "proxy/rules/rule.h"
#include "zulcommand/messagerecords.h"

namespace proxy {

/// Memory for one message at a time.
struct MessageMemory
{
    std::vector<uint8_t> payload = {};
    std::vector<WendleObject> records = {};

    /// Gives back what a large message took.
    void trim()
    {
        constexpr size_t kMaxSpare = 2048; // bytes of each
        if (payload.capacity() > kMaxSpare) {
            payload = std::vector<uint8_t>();
        }
        if (records.capacity() > kMaxSpare / sizeof(WendleObject)) {
            records = std::vector<WendleObject>();
        }
    }
};

/// Answers what selectors ask about a received message. It reads the records when a selector needs them.
class MessageFacts
{
public:
    /// Both are borrowed.
    MessageFacts(const CutMessage& message, MessageMemory* memory) : mMessage(message), mMemory(*memory) {}

    SegmentHeader header() const { return SegmentHeader(mMessage.bytes.data()); }

    /// That of all segments, one behind the other.
    std::span<const uint8_t> payload();

    /// The records. Null if the payload is not made of objects and tags.
    const std::vector<WendleObject>* records();

private:
    enum eRead : uint8_t
    {
        NOT_YET,
        READABLE,
        UNREADABLE
    };

    void joinPayload();

    const CutMessage& mMessage;
    MessageMemory& mMemory;
    eRead mRead = NOT_YET;
    bool mJoined = false;
};

/// True if the dictionary has @p tag as a float and it has the length of one.
bool isFloat(const WTagView& tag);

/// The tag without which the rule's kind cannot act on a record. For NAN_FLOATS that is any float.
std::optional<uint16_t> changedTag(const Rule& rule);

/// True if only a message with a certain record, or with any, will do.
bool asksForRecord(const Rule& rule);

/// True if the selectors object= and port= of @p rule choose @p record and the rule's kind can act on it.
bool choosesRecord(const Rule& rule, const WendleObject& record);

/// True if the rule asks for no record, or if the message has one that it chooses.
bool choosesRecords(const Rule& rule, MessageFacts* message);

} // namespace proxy

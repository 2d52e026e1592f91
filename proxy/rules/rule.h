#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "zulcommand/messageselector.h"
#include "zuldict/zuldict.h"

namespace proxy {

using zulcommand::eDirection;
using zulcommand::kDirections;

/// What a rule does.
enum class eFault : uint8_t
{
    // To the connection.
    REFUSE,
    ACCEPT_LATE,
    CUT,
    RESET,
    HALF_CLOSE,
    SILENCE,
    STALL,
    TIMEOUT,    ///< silence, then a cut
    SLOW_CLOSE, ///< the end of a side is passed on late
                // To bytes.
    DELAY,
    RATE,
    SLICE,
    CORRUPT,
    JOIN,
    LIMIT,
    // To segments and messages.
    LOSE,
    DUPLICATE,
    LATE,
    SWAP,
    HOLD,
    TRUNCATE,
    WRONG_CHECKSUM,
    WRONG_NUMBER,
    WRONG_TYPE,
    UNKNOWN_FLAG,
    TOO_LONG,
    EMPTY_SEGMENTS,
    NEVER_LAST,
    // To records.
    FIELD,
    WRONG_SERIAL,
    UNKNOWN_OBJECT,
    UNKNOWN_TAG,
    DROP_TAG,
    WRONG_LENGTH,
    DROP_RECORD,
    DOUBLE_RECORD,
    NAN_FLOATS
};

enum class eFaultLayer : uint8_t
{
    CONNECTION,
    BYTES,
    MESSAGE,
    RECORD
};

/// The name of a kind in rules and in the lines about faults, such as "wrong-checksum".
const char* nameOf(eFault kind);
eFaultLayer layerOf(eFault kind);

/// A value that a rule gives to a field of records.
struct FieldChange
{
    const zuldict::TagEntry* field = nullptr;
    uint32_t bits = 0; ///< of a number or a float
    std::string text = {};
    bool absent = false; ///< a text that is taken out

    bool operator==(const FieldChange&) const = default;
};

/// What a fault injector is to do, to what and when: a line of docs/faults.md.
struct Rule : zulcommand::MessageSelector
{
    eFault kind = eFault::LOSE;
    std::string text = {}; ///< as it was written, without blanks at its ends

    // What it does; which of them hold depends on the kind.
    int64_t ns = 0;       ///< ACCEPT_LATE, STALL, TIMEOUT, SLOW_CLOSE, DELAY, LATE: the time; SLICE: the gap
    int64_t jitterNs = 0; ///< DELAY: the largest deviation from `ns`; at most `ns`
    uint32_t min =
        0; ///< RATE, JOIN, LIMIT: bytes; CORRUPT: bits; HOLD, EMPTY_SEGMENTS: how many; SLICE: bytes
    uint32_t max = 0;        ///< SLICE: the most bytes
    FieldChange change = {}; ///< FIELD; DROP_TAG and WRONG_LENGTH have only the field

    // To which messages, beside those of MessageSelector.
    std::optional<double> share = {}; ///< of all devices, 0 to 1

    // When.
    std::optional<double> chance = {}; ///< 0 to 1
    std::optional<uint32_t> every = {};
    std::optional<uint32_t> first = {};
    std::optional<uint32_t> skip = {};
    std::optional<uint32_t> count = {};
    int64_t afterNs = 0;
    std::optional<int64_t> forNs = {};
    std::optional<uint32_t> reconnect = {};

    /// True for a kind of the connection that acts on single messages, because the rule counts or draws them.
    bool actsOnMessages() const;

    /// True if the rule needs to know the device.
    bool namesDevice() const { return devices || share || reconnect; }

    bool operator==(const Rule&) const = default;
};

} // namespace proxy

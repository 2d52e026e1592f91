#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "wcapture/tcppacket.h"
#include "wmsg/wmsg.h"
#include "zulcommand/messageselector.h"

namespace capture {

using zulcommand::eDirection;

/// A recorded connection between a device and its server.
struct Connection
{
    uint64_t number = 0;        ///< from 1, in the order in which they begin in the recording
    std::string interface = {}; ///< where it was recorded; empty if the recording does not tell it
    sEndpoint device = {};      ///< which opened it
    sEndpoint server = {};
    bool isWhole = false; ///< the recording has its beginning
    bool isOver = false;  ///< the recording was read up to its end

    /// Nothing while no message of the device has told it.
    std::optional<uint32_t> deviceSerial = {};
};

/// Of a message that is an answer: what it answers.
struct Question
{
    uint64_t number = 0; ///< among the messages of the connection
    int64_t timeNs = 0;
    uint8_t type = 0; ///< of the message
};

/// What a recording has next.
struct RecordedItem
{
    enum eKind : uint8_t
    {
        OPENED,
        BYTES, ///< what one side sent, as it is: also that of messages and what is damaged
        MESSAGE,
        DAMAGED, ///< bytes that belong to no message
        LOST,    ///< bytes that were not recorded
        ENDED,   ///< the side sends no more
        RESET,   ///< by this side
        CLOSED   ///< nothing more comes of this connection
    };

    eKind kind = CLOSED;
    eDirection direction = eDirection::TO_SERVER;
    std::shared_ptr<const Connection> connection = {};
    int64_t timeNs = 0;              ///< since 1970; of the packet by which it became known
    uint64_t size = 0;               ///< DAMAGED, LOST: how many bytes
    std::vector<uint8_t> bytes = {}; ///< BYTES
    WMsg message = {};               ///< MESSAGE
    uint64_t end = 0;    ///< MESSAGE, DAMAGED: how many BYTES its side has sent up to where it ends
    uint64_t number = 0; ///< MESSAGE: among those of its connection, from 1
    std::optional<Question> question = {}; ///< MESSAGE: what it answers, if that was recorded
};

constexpr eDirection opposite(eDirection direction)
{
    return direction == eDirection::TO_SERVER ? eDirection::TO_DEVICE : eDirection::TO_SERVER;
}

/// Under which number a message and its answer find each other.
uint16_t keyOf(const WMsg& message);

/// True if the message asks for an answer: a request or a set to the device, or a ping.
bool asks(const RecordedItem& item);

} // namespace capture

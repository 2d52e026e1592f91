#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "server/commands/condition.h"
#include "zulobj/object.h"

namespace server {

/// A command line that was understood.
struct Command
{
    enum class Kind
    {
        EXCHANGE, ///< send a message and wait for its answer
        SEND,     ///< send a message and wait for nothing
        WAIT_EVENT,
        WAIT_DEVICE,
        WAIT_DISCONNECTED,
        EXPECT_EVENT,
        EXPECT_NO_EVENT,
        EXPECT_ANSWER, ///< send a message again and again until its answer is as expected
        FORGET,        ///< the messages and the ended connections so far
        DROP,          ///< close the connection of a device
        CASE,          ///< begin a case of the report
        SLEEP,
        HELP,
        QUIT
    };

    Kind kind = Kind::HELP;

    /// EXCHANGE, EXPECT_ANSWER and SEND: the type of the message, and its object or null.
    uint8_t msgType = 0;
    std::shared_ptr<cObject> object;

    /// The device serial to send in `object`, as its only field. If not set, `object` is sent without fields.
    std::optional<uint32_t> objectSerial;

    /// The serial of the device that the command names.
    std::optional<uint32_t> device;

    /// WAIT_EVENT and EXPECT_*: the type of an object that the message must have; without it any message
    /// will do.
    std::optional<uint32_t> objectType;

    /// What that object must be like.
    Conditions conditions;

    /// How long to wait or sleep.
    double seconds = 0.0;
};

} // namespace server

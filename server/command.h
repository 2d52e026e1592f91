#ifndef SERVER_COMMAND_H
#define SERVER_COMMAND_H

#include <cstdint>
#include <memory>
#include <optional>

#include "zulobj/object.h"

namespace server {

/// What a command line asks for.
struct Command
{
    enum class Kind
    {
        EXCHANGE, ///< send a message and wait for its answer
        SEND,     ///< send a message and wait for nothing
        WAIT_EVENT,
        WAIT_DEVICE,
        SLEEP,
        HELP,
        QUIT
    };

    Kind kind = Kind::HELP;

    /// EXCHANGE and SEND: the type of the message, and its one object or null for none.
    uint8_t msgType = 0;
    std::shared_ptr<cObject> object;

    /// The serial of the device that is meant, where the command names one.
    std::optional<uint32_t> device;

    /// WAIT_EVENT: the type of an object that the message must have; any message will do without it.
    std::optional<uint32_t> objectType;

    /// How long to wait at most, or how long to sleep.
    double seconds = 0.0;
};

} // namespace server

#endif

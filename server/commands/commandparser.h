#pragma once

#include <optional>
#include <string>

#include "zulcommand/verb.h"

namespace server {

/// A command line that was understood.
struct Command : zulcommand::CommandBase
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
        DEVICES,       ///< count them
        CASE,          ///< begin a case of the report
        SLEEP,
        HELP,
        QUIT
    };

    Kind kind = Kind::HELP;

    /// EXCHANGE, EXPECT_ANSWER and SEND: what is sent.
    WMsg message;
};

/// The trimmed name in the command "case NAME"; nothing for any other line.
std::optional<std::string> caseName(const std::string& trimmedLine);

/// Reads one command. Returns one sentence that says what is wrong with it, or an empty text if @p *command
/// was filled.
std::string parseCommand(const std::string& line, Command* command);

/// The text of the command "help": every command with its fields, in lines.
std::string commandHelp();

} // namespace server

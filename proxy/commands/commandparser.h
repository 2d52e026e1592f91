#pragma once

#include <optional>
#include <string>

#include "proxy/commands/faultlog.h"
#include "proxy/rules/rule.h"
#include "zulcommand/verb.h"

namespace proxy {

/// A command line that was understood.
struct Command : zulcommand::CommandBase
{
    enum class Kind
    {
        RULE_ADD,
        RULE_LIST,
        RULE_CLEAR,
        CONNECTIONS,
        CONNECTION_FAULT, ///< CUT, RESET or SILENCE
        EXPECT_FAULT,
        FORGET, ///< the faults so far
        SLEEP,
        HELP,
        QUIT
    };

    Kind kind = Kind::HELP;

    // What the command is about, as far as its kind says.
    Rule rule = {};                            ///< RULE_ADD
    std::optional<uint32_t> number = {};       ///< RULE_CLEAR: of one rule
    eFault fault = eFault::CUT;                ///< CONNECTION_FAULT
    std::optional<uint32_t> deviceSerial = {}; ///< CONNECTION_FAULT: without it all devices are meant
    FaultLog::Filter wanted = {};              ///< EXPECT_FAULT
};

/// Reads one command. Returns one sentence that says what is wrong with it, or an empty text if @p *command
/// was filled.
std::string parseCommand(const std::string& line, Command* command);

/// The text of the command "help": every command with its fields, in lines.
std::string commandHelp();

} // namespace proxy

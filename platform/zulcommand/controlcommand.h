#pragma once

#include <optional>
#include <string>
#include <vector>

#include "zulcommand/verb.h"
#include "zullink/hostport.h"

/// A command of the control socket that was understood.
struct sControlCommand : zulcommand::CommandBase
{
    enum class Kind
    {
        GET,
        GET_LINK,
        GET_SCENARIO,
        SET_DIGITAL,
        SET_ANALOG,
        SCAN,
        ADHOC,
        WIRE,
        UNWIRE,
        CONNECT,
        DISCONNECT,
        LOAD,
        SCRIPT,
        SCENARIO,
        EXPECT_GET, ///< GET again and again until it is as expected
        EXPECT_EVENT,
        EXPECT_NO_EVENT,
        WAIT_LINK_UP,
        WAIT_LINK_DOWN,
        WAIT_SCRIPTS,
        FORGET,
        SLEEP,
        HELP,
        QUIT
    };

    Kind kind = Kind::HELP;

    // What the command is about, as far as its kind says.
    eObjectTypes type = OBJ_DEVICE; ///< GET, WIRE, UNWIRE: of the object or the input; OBJ_ACCESS: a scanner
    uint32_t number = 0; ///< of the port or scanner, from 1; in a GET 0 for all; an ad-hoc event's id
    uint32_t value = 0;  ///< 0 or 1; 0 to 100; the output's number
    std::vector<std::string> texts;  ///< in UTF-8: a code; a label and a value; a file and its arguments
    std::optional<sHostPort> server; ///< CONNECT
};

/// Reads one command. Returns one sentence that says what is wrong with it, or an empty text if @p *command
/// was filled.
std::string parseControlCommand(const std::string& line, sControlCommand* command);

/// The same for a program with several devices, whose commands take device=SERIAL or device=*.
std::string parseFleetCommand(const std::string& line, sControlCommand* command);

/// The text of the command "help": every command with its fields, in lines.
std::string controlHelp();

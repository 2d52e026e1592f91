#pragma once

#include <optional>
#include <string>

#include "server/commands/command.h"

namespace server {

/// The maximum size of a command line, in bytes.
constexpr size_t kMaxCommandBytes = 4096;

/// @p text without the blanks at both of its ends.
std::string trimmed(const std::string& text);

/// True if the line is blank or begins with '#'.
bool isSkipped(const std::string& trimmedLine);

/// The trimmed name in the command "case NAME"; nothing for any other line.
std::optional<std::string> caseName(const std::string& trimmedLine);

/// Reads one command. Returns one sentence that says what is wrong with it, or an empty text if @p *command
/// was filled.
std::string parseCommand(const std::string& line, Command* command);

/// The text of the command "help": every command with its fields, in lines.
const char* commandHelp();

} // namespace server

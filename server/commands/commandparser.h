#ifndef SERVER_COMMANDPARSER_H
#define SERVER_COMMANDPARSER_H

#include <optional>
#include <string>

#include "server/commands/command.h"

namespace server {

/// The longest command line, in bytes.
constexpr size_t kMaxCommandBytes = 4096;

/// @p text without the blanks at both of its ends.
std::string trimmed(const std::string& text);

/// True for a line that is no command: a blank one, or one that begins with '#'.
bool isSkipped(const std::string& trimmedLine);

/// The name in the command "case NAME", without blanks at its ends; nothing for any other line.
std::optional<std::string> caseName(const std::string& trimmedLine);

/// Reads one command. Returns one sentence that says what is wrong with it, or an empty text when
/// @p *command has been filled.
std::string parseCommand(const std::string& line, Command* command);

/// What the command "help" says: every command with its fields, in lines.
const char* commandHelp();

} // namespace server

#endif

#pragma once

// Builds the object that a get or a set sends from the words of its command.

#include "server/commands/command.h"
#include "server/commands/commandwords.h"

namespace server {

/// Fills the object of @p *command with what a request asks for: keys that are not given stand for every
/// device and every port. It stays null after a mistake in the object's name.
void readObjectToGet(CommandWords* words, Command* command);

/// Fills it with what a set changes: fields that are not given say that the device leaves them as they are.
void readObjectToSet(CommandWords* words, Command* command);

} // namespace server

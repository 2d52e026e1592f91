#pragma once

#include "capture/options/subcommand.h"

namespace capture {

/// "commands": prints what the server did as commands of zulserver.
std::unique_ptr<Subcommand> makeCommands();

} // namespace capture

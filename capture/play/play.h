#pragma once

#include "capture/options/subcommand.h"

namespace capture {

/// "play": plays one side of a recording to a program.
std::unique_ptr<Subcommand> makePlay();

} // namespace capture

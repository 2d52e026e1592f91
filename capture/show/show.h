#pragma once

#include "capture/options/subcommand.h"

namespace capture {

/// "show": prints the messages of a recording.
std::unique_ptr<Subcommand> makeShow();

} // namespace capture

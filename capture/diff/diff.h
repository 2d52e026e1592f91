#pragma once

#include "capture/options/subcommand.h"

namespace capture {

/// "diff": prints in what two recordings differ.
std::unique_ptr<Subcommand> makeDiff();

} // namespace capture

#pragma once

#include <iosfwd>

#include "proxy/app/options.h"

namespace proxy {

/// Writes to @p out the lines about the faults that the rules would give for the recorded session of
/// Options::against, and a sentence to @p err if it cannot be read. Returns the exit status.
int runDryRun(const Options& options, std::ostream& out, std::ostream& err);

} // namespace proxy

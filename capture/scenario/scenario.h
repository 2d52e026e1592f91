#pragma once

#include "capture/options/subcommand.h"

namespace capture {

/// "scenario": prints what the operator of a device did, as a scenario.
std::unique_ptr<Subcommand> makeScenario();

} // namespace capture

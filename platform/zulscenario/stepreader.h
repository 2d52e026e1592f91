#pragma once

#include <functional>
#include <memory>

#include "zulscenario/scenario.h"
#include "zulscenario/valuereader.h"

namespace zulscenario {

/// Returns the table that a value names.
using FindTable = std::function<std::shared_ptr<const Table>(const Entry&)>;

/// Reads a step of a scenario. If it is wrong @p values keeps the mistake, and any step is returned.
Step readStep(const YamlNode& node, const ValueReader& values, const FindTable& findTable);

} // namespace zulscenario

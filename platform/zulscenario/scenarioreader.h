#pragma once

#include <functional>
#include <string>

#include "zulcommand/textfile.h"
#include "zuldevice/portrules.h"
#include "zulscenario/scenario.h"

namespace zulscenario {

/// Reads the file @p path. Returns why that is not possible, or an empty text.
using ReadFile = std::function<std::string(const std::string& path, std::string* content)>;

/// Reads the scenario @p path for a device with @p counts, and the tables that it names. Returns the first
/// mistake as "FILE:LINE:COLUMN: SENTENCE", or an empty text if @p *scenario was filled.
std::string readScenario(const std::string& path, const zuldevice::Counts& counts, Scenario* scenario,
                         const ReadFile& readFile = zulcommand::readTextFile);

} // namespace zulscenario

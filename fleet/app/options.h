#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "fleet/devices/fleetsettings.h"
#include "zulhttp/httpsettings.h"
#include "zullink/hostport.h"
#include "zuloptions/commandline.h"

namespace fleet {

/// What the command line asks for.
struct Options
{
    FleetSettings fleet;
    sHostPort server;
    std::vector<std::string> bind; ///< source addresses; none if the system chooses them
    bool isPart = false;           ///< the fleet's shard was given, by an option or by a scheduler
    uint32_t require = 0;
    std::optional<std::string> report;
    std::optional<std::string> runId;
    std::optional<std::string> control;        ///< the path of the control socket
    std::optional<zulhttp::HttpSettings> http; ///< nothing if it is not served
    std::vector<std::string> scenarios;
    std::optional<std::string> junit; ///< a report of the scenarios' expectations
    bool check = false;               ///< only reads the scenarios
    double progressSeconds = 10.0;

    /// Reports to merge, in the place of a fleet.
    std::vector<std::string> merge;
};

using ParsedOptions = zuloptions::ParsedOptions<Options>;

/// Reads a command line; --version puts out @p version. @p environment says which part of a fleet a scheduler
/// wants.
ParsedOptions parseOptions(int argc, const char* const* argv, const std::string& version,
                           const Environment& environment);

/// Reads "ADDRESS[,ADDRESS|ADDRESS-ADDRESS]...". Returns one sentence if @p text is something else.
std::string parseBind(const std::string& text, std::vector<std::string>* addresses);

} // namespace fleet

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "zulhttp/httpsettings.h"
#include "zuloptions/commandline.h"

namespace server {

/// What the command line asks for.
struct Options
{
    std::string listen = "127.0.0.1";
    uint16_t port = 50000;
    std::optional<std::string> portFile; ///< the file that holds the port while the server listens

    /// The lines of --command, then those of --commands; without either, commands come from the input.
    std::vector<std::string> commands;
    bool commandsGiven = false;

    std::optional<uint32_t> count;
    std::optional<double> timeout;             ///< seconds
    std::optional<std::string> capture;        ///< the file that records the links
    std::optional<zulhttp::HttpSettings> http; ///< nothing if it is not served
    bool verbose = false;
    std::vector<std::string> quiet;   ///< the events whose lines are left out
    std::optional<std::string> junit; ///< the file of the report
};

using ParsedOptions = zuloptions::ParsedOptions<Options>;

/// Reads a command line; --version puts out @p version.
ParsedOptions parseOptions(int argc, const char* const* argv, const std::string& version);

} // namespace server

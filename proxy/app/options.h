#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "proxy/rules/rule.h"
#include "zulhttp/httpsettings.h"
#include "zullink/hostport.h"
#include "zuloptions/commandline.h"

namespace proxy {

/// What the command line asks for.
struct Options
{
    std::string listenAddress = "127.0.0.1";
    uint16_t listenPort = 0;
    sHostPort server;
    std::vector<Rule> rules; ///< in the order in which they were given
    uint32_t seed = 0;
    std::optional<std::string> control; ///< the path of the control socket
    std::optional<std::string> capture;
    std::optional<std::string> log;
    std::optional<zulhttp::HttpSettings> http; ///< nothing if it is not served
    std::vector<std::string> command;          ///< to start and wait for; none if empty

    bool dryRun = false;
    std::string against;          ///< the recorded session of a dry run
    std::optional<uint32_t> port; ///< of the server in that session, if that has to be told
};

using ParsedOptions = zuloptions::ParsedOptions<Options>;

/// Reads a command line; --version puts out @p version.
ParsedOptions parseOptions(int argc, const char* const* argv, const std::string& version);

} // namespace proxy

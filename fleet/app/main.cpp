#include <CLI/Version.hpp>
#include <boost/system/system_error.hpp>
#include <csignal>
#include <cstdlib>
#include <iostream>

#include "fleet/app/application.h"
#include "fleet/report/merge.h"
#include "zulconsole/boostversion.h"
#include "zulversion/zulversion.h"

namespace {

std::string version()
{
    return zulversion::describe("zulfleet",
                                {{"Boost", zulconsole::boostVersion()}, {"CLI11", CLI11_VERSION}});
}

/// Returns the exit status.
int play(const fleet::Options& options)
{
    try {
        return fleet::Application(options, zulversion::version()).run();
    } catch (const boost::system::system_error& error) {
        // Usually the system grants no more descriptors.
        std::cerr << "zulfleet: the fleet cannot be played: " << error.code().message() << ".\n";
        return 1;
    }
}

} // namespace

int main(int argc, char** argv)
{
    std::signal(SIGPIPE, SIG_IGN);
    const fleet::ParsedOptions parsed = fleet::parseOptions(
        argc, argv, version(), [](const char* name) { return static_cast<const char*>(std::getenv(name)); });
    std::cout << parsed.output << std::flush;
    std::cerr << parsed.error << std::flush;
    if (!parsed.options) {
        return parsed.exitStatus;
    }
    const fleet::Options& options = *parsed.options;
    return options.merge.empty() ? play(options)
                                 : fleet::runMerge(options.merge, options.report, std::cout, std::cerr);
}

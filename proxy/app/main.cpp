#include <CLI/Version.hpp>
#include <boost/system/system_error.hpp>
#include <clocale>
#include <csignal>
#include <iostream>

#include "proxy/app/application.h"
#include "proxy/app/dryrun.h"
#include "zulconsole/boostversion.h"
#include "zuloptions/programstart.h"
#include "zulversion/zulversion.h"

namespace {

std::string version()
{
    return zulversion::describe(
        "zulproxy",
        {{"Boost", zulconsole::boostVersion()}, {"CLI11", CLI11_VERSION}, {"libedit", LIBEDIT_RELEASE}});
}

/// Returns the exit status.
int run(const proxy::Options& options)
{
    try {
        return proxy::Application(options, std::string("zulproxy ") + zulversion::version()).run();
    } catch (const boost::system::system_error& error) {
        // Usually the system grants no more descriptors.
        std::cerr << "zulproxy: Cannot run: " << error.code().message() << ".\n";
        return 1;
    }
}

} // namespace

int main(int argc, char** argv)
{
    zuloptions::fillStandardStreams();
    zuloptions::raiseDescriptorLimit(); // each connection takes two
    // The prompt takes the user's characters; numbers keep their point.
    std::setlocale(LC_CTYPE, "");
    std::signal(SIGPIPE, SIG_IGN);

    const proxy::ParsedOptions parsed = proxy::parseOptions(argc, argv, version());
    std::cout << parsed.output << std::flush;
    std::cerr << parsed.error << std::flush;
    if (!parsed.options) {
        return parsed.exitStatus;
    }
    return parsed.options->dryRun ? proxy::runDryRun(*parsed.options, std::cout, std::cerr)
                                  : run(*parsed.options);
}

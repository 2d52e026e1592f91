#include <CLI/Version.hpp>
#include <boost/system/system_error.hpp>
#include <clocale>
#include <csignal>
#include <cstdio>

#include "server/app/application.h"
#include "zulconsole/boostversion.h"
#include "zuloptions/programstart.h"
#include "zulversion/zulversion.h"

namespace {

std::string version()
{
    return zulversion::describe(
        "zulserver",
        {{"Boost", zulconsole::boostVersion()}, {"CLI11", CLI11_VERSION}, {"libedit", LIBEDIT_RELEASE}});
}

/// Returns the exit status.
int serve(const server::Options& options)
{
    try {
        server::Application application(options, server::LinkSettings(), server::Application::Streams(),
                                        std::string("zulserver ") + zulversion::version());
        application.endOnSignals();
        return application.run();
    } catch (const boost::system::system_error& error) {
        // Usually the system grants no more descriptors.
        std::fprintf(stderr, "zulserver: Cannot serve: %s.\n", error.code().message().c_str());
        return 1;
    }
}

} // namespace

int main(int argc, char** argv)
{
    zuloptions::fillStandardStreams();
    zuloptions::raiseDescriptorLimit(); // each connection takes one
    // The prompt takes the user's characters; numbers keep their point.
    std::setlocale(LC_CTYPE, "");
    std::signal(SIGPIPE, SIG_IGN);

    const server::ParsedOptions parsed = server::parseOptions(argc, argv, version());
    std::fputs(parsed.output.c_str(), stdout);
    std::fputs(parsed.error.c_str(), stderr);
    if (!parsed.options) {
        return parsed.exitStatus;
    }
    return serve(*parsed.options);
}

#include <CLI/Version.hpp>
#include <boost/system/system_error.hpp>
#include <boost/version.hpp>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include "server/app/application.h"
#include "zulversion/zulversion.h"

namespace {

/// Opens the standard streams that are closed, so that no socket gets their numbers.
void fillStandardStreams()
{
    int opened = 0;
    while (opened >= 0 && opened <= 2) {
        opened = ::open("/dev/null", O_RDONLY);
    }
    ::close(opened);
}

/// Allows as many descriptors as the system grants; each connection takes one.
void raiseDescriptorLimit()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

std::string boostVersion()
{
    return std::to_string(BOOST_VERSION / 100000) + "." + std::to_string(BOOST_VERSION / 100 % 1000) + "." +
           std::to_string(BOOST_VERSION % 100);
}

std::string version()
{
    return zulversion::describe(
        "zulserver", {{"Boost", boostVersion()}, {"CLI11", CLI11_VERSION}, {"libedit", LIBEDIT_RELEASE}});
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
    fillStandardStreams();
    raiseDescriptorLimit();
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

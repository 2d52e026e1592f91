#include <clocale>
#include <csignal>
#include <cstdio>

#include "server/application.h"

int main(int argc, char** argv)
{
    // The prompt takes the user's characters; numbers keep their point.
    std::setlocale(LC_CTYPE, "");
    std::signal(SIGPIPE, SIG_IGN);

    const server::ParsedOptions parsed = server::parseOptions(argc, argv);
    std::fputs(parsed.output.c_str(), stdout);
    std::fputs(parsed.error.c_str(), stderr);
    if (!parsed.options) {
        return parsed.exitStatus;
    }
    server::Application application(*parsed.options, server::LinkSettings(), server::Application::Streams());
    application.endOnSignals();
    return application.run();
}

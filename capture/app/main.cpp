#include <CLI/Version.hpp>
#include <csignal>
#include <iostream>

#include "capture/app/program.h"
#include "zuloptions/programstart.h"
#include "zulversion/zulversion.h"

int main(int argc, char** argv)
{
    zuloptions::fillStandardStreams();
    std::signal(SIGPIPE, SIG_IGN);
    std::ios::sync_with_stdio(false);
    const std::string version = zulversion::describe("zulcapture", {{"CLI11", CLI11_VERSION}});
    return capture::runProgram(argc, argv, version, std::cout, std::cerr);
}

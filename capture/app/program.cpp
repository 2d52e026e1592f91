#include "capture/app/program.h"

#include <map>
#include <ostream>

#include "capture/commands/commands.h"
#include "capture/diff/diff.h"
#include "capture/play/play.h"
#include "capture/scenario/scenario.h"
#include "capture/show/show.h"
#include "zuloptions/commandline.h"

namespace capture {

namespace {

constexpr const char* kFooter =
    "Exit status: 0 done; 1 wrong usage, or a file cannot be read; 4 something was not as it was recorded.";

} // namespace

int runProgram(int argc, const char* const* argv, const std::string& version, std::ostream& out,
               std::ostream& err)
{
    CLI::App app("Works with recordings of field devices and their server.", "zulcapture");
    app.footer(kFooter);
    app.set_version_flag("--version", version,
                         "Print the version, the commit and the libraries' versions, and end");
    app.require_subcommand(1);

    std::map<CLI::App*, std::unique_ptr<Subcommand>> subcommands;
    for (auto* const make : {makeShow, makeDiff, makePlay, makeCommands, makeScenario}) {
        std::unique_ptr<Subcommand> subcommand = make();
        CLI::App* const declared = subcommand->declare(&app);
        subcommands[declared] = std::move(subcommand);
    }
    const auto chosen = [&]() -> Subcommand& { return *subcommands.at(app.get_subcommands().front()); };
    if (const auto end = zuloptions::readCommandLine(&app, argc, argv, [&] { return chosen().check(); })) {
        out << end->output << std::flush;
        err << end->error << std::flush;
        return end->exitStatus;
    }
    return chosen().run(out, err);
}

} // namespace capture

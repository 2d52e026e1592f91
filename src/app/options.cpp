#include "options.h"

#include "paths.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <ostream>
#include <string_view>
#include <vector>

namespace {

const char kProgram[] = "zulbench";

constexpr std::array<std::string_view, 14> kQtOptionsWithValue{"platform",
                                                               "platformpluginpath",
                                                               "platformtheme",
                                                               "plugin",
                                                               "qwindowgeometry",
                                                               "geometry",
                                                               "display",
                                                               "title",
                                                               "icon",
                                                               "session",
                                                               "style",
                                                               "stylesheet",
                                                               "qwindowtitle",
                                                               "qwindowicon"};
constexpr std::array<std::string_view, 2> kQtOptionsWithJoinedValue{"style=", "stylesheet="};
constexpr std::array<std::string_view, 2> kQtSwitches{"reverse", "widgetcount"};

template <class Names>
bool contains(const Names& names, std::string_view name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// Returns the text behind one or two dashes; empty if there is no dash.
std::string_view optionName(std::string_view argument)
{
    for (const std::string_view dashes : {"--", "-"}) {
        if (argument.substr(0, dashes.size()) == dashes) {
            return argument.substr(dashes.size());
        }
    }
    return {};
}

bool isQtSwitch(std::string_view name)
{
    const auto begins = [name](std::string_view prefix) { return name.substr(0, prefix.size()) == prefix; };
    return contains(kQtSwitches, name) ||
           std::any_of(kQtOptionsWithJoinedValue.begin(), kQtOptionsWithJoinedValue.end(), begins);
}

/// Returns the arguments that are not Qt's, in reverse order as CLI11 takes them.
std::vector<std::string> ownArguments(int argc, const char* const* argv, bool& platformNamed)
{
    std::vector<std::string> own;
    for (int i = 1; i < argc; ++i) {
        const std::string_view name = optionName(argv[i]);
        if (contains(kQtOptionsWithValue, name)) {
            ++i;
            platformNamed = platformNamed || (name == "platform" && i < argc);
        } else if (!isQtSwitch(name)) {
            own.emplace_back(argv[i]);
        }
    }
    std::reverse(own.begin(), own.end());
    return own;
}

void describe(CLI::App& app, const std::string& version, cOptions& options, std::vector<std::string>& files)
{
    app.set_help_flag("-h,--help", "Print this help and end");
    app.set_version_flag("--version", version,
                         "Print the version, the commit and the libraries' versions, and end");
    app.add_option("FILE", files, "Load this device (.dev) or connection (.con), or run this script (.js)")
        ->type_name("");
    app.add_option("--device", options.deviceFile, "Load this device file")->type_name("FILE");
    app.add_option("--connection", options.connectionFile, "Take the server's address from this file")
        ->type_name("FILE");
    app.add_flag("--connect", options.connect, "Connect to the server");
    app.add_option("--script", options.scripts,
                   "Run this JavaScript file; may be given again, needs a device")
        ->type_name("FILE")
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_option("--log-config", options.logConfig, "Log as this log4cpp property file says")
        ->type_name("FILE");
    app.add_option("--capture", options.captureFile, "Record what crosses the link in this file (pcapng)")
        ->type_name("FILE");
    app.add_flag("--headless", options.headless, "Run without a display");
    app.footer("The device is loaded first, then the connection file, then the device connects, and\n"
               "the scripts start last.\n"
               "Qt's own options, such as -platform and -style, are understood as well.");
}

void takeOnce(std::optional<std::string>& taken, const std::string& file)
{
    if (taken) {
        throw CLI::ValidationError("'" + *taken + "' and '" + file + "' are two files of one kind");
    }
    taken = file;
}

/// Sorts the plain arguments in @p files into @p options. Throws CLI11's errors.
void takeFiles(const std::vector<std::string>& files, cOptions& options)
{
    for (const std::string& file : files) {
        // The suffix is ASCII, whatever the locale.
        switch (fileKindOf(QString::fromLatin1(file.c_str()))) {
        case eFileKind::DEVICE:
            takeOnce(options.deviceFile, file);
            break;
        case eFileKind::CONNECTION:
            takeOnce(options.connectionFile, file);
            break;
        case eFileKind::SCRIPT:
            options.scripts.push_back(file);
            break;
        case eFileKind::OTHER:
            throw CLI::ValidationError("'" + file + "' is neither a .dev nor a .con nor a .js file");
        }
    }
    if (!options.scripts.empty() && !options.deviceFile) {
        throw CLI::RequiresError("--script", "--device");
    }
}

int report(const CLI::App& app, const CLI::ParseError& outcome, std::ostream& out, std::ostream& error)
{
    if (outcome.get_exit_code() != 0) {
        error << kProgram << ": " << outcome.what() << " (see " << kProgram << " --help)\n";
        return 1;
    }
    const bool help = dynamic_cast<const CLI::CallForHelp*>(&outcome) != nullptr;
    out << (help ? app.help() : std::string(outcome.what()) + '\n');
    return 0;
}

} // namespace

cParsedOptions parseOptions(int argc, const char* const* argv, const std::string& version, std::ostream& out,
                            std::ostream& error)
{
    cParsedOptions parsed;
    CLI::App app("Simulates one field device toward a site-monitoring server.", kProgram);
    std::vector<std::string> files;
    describe(app, version, parsed.options, files);
    try {
        app.parse(ownArguments(argc, argv, parsed.options.platformNamed));
        takeFiles(files, parsed.options);
    } catch (const CLI::ParseError& outcome) {
        parsed.exitStatus = report(app, outcome, out, error);
    }
    return parsed;
}

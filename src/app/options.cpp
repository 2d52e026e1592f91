#include "options.h"

#include "paths.h"

#include <CLI/CLI.hpp>
#include <QRegularExpression>
#include <algorithm>
#include <ostream>
#include <vector>

namespace {

/// Returns the arguments that are not Qt's, in reverse order as CLI11 takes them.
std::vector<std::string> ownArguments(int argc, const char* const* argv, bool& platformNamed)
{
    const QRegularExpression withValue("^--?(platform(pluginpath|theme)?|plugin|display|session|"
                                       "style(sheet)?|(qwindow)?(geometry|title|icon))\\z");
    const QRegularExpression withoutValue("^--?(reverse\\z|widgetcount\\z|style(sheet)?=)");
    std::vector<std::string> own;
    for (int i = 1; i < argc; ++i) {
        const QString argument = QString::fromLatin1(argv[i]);
        if (withValue.match(argument).hasMatch()) {
            ++i;
            platformNamed = platformNamed || (argument.endsWith("-platform") && i < argc);
        } else if (!withoutValue.match(argument).hasMatch()) {
            own.emplace_back(argv[i]);
        }
    }
    std::ranges::reverse(own);
    return own;
}

void describe(CLI::App& app, const std::string& version, cOptions& options, std::vector<std::string>& files)
{
    app.set_help_flag("-h,--help", "Print this help and end");
    app.set_version_flag("--version", version,
                         "Print the version, the commit and the libraries' versions, and end");
    app.add_option("FILE", files, "Load this device (.dev) or connection (.con), or run this script (.js)")
        ->type_name("");
    const auto addFile = [&app](const char* name, auto& target, const char* description) {
        return app.add_option(name, target, description)->type_name("FILE");
    };
    addFile("--device", options.deviceFile, "Load this device file");
    addFile("--connection", options.connectionFile, "Take the server's address from this file");
    app.add_flag("--connect", options.connect, "Connect to the server");
    addFile("--script", options.scripts, "Run this JavaScript file; may be given again, needs a device")
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    addFile("--log-config", options.logConfig, "Log as this log4cpp property file says");
    addFile("--capture", options.captureFile, "Record what crosses the link in this file (pcapng)");
    app.add_flag("--headless", options.headless, "Run without a display");
    app.footer("The device is loaded first, then the connection file, then the device connects, and\n"
               "the scripts start last.\n"
               "Qt's own options, such as -platform and -style, are understood as well.");
    app.failure_message([](const CLI::App* program, const CLI::Error& mistake) {
        const std::string name = program->get_name();
        return name + ": " + mistake.what() + " (see " + name + " --help)\n";
    });
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

} // namespace

cParsedOptions parseOptions(int argc, const char* const* argv, const std::string& version, std::ostream& out,
                            std::ostream& error)
{
    cParsedOptions parsed;
    CLI::App app("Simulates one field device toward a site-monitoring server.", "zulbench");
    std::vector<std::string> files;
    describe(app, version, parsed.options, files);
    try {
        app.parse(ownArguments(argc, argv, parsed.options.platformNamed));
        takeFiles(files, parsed.options);
    } catch (const CLI::ParseError& outcome) {
        parsed.exitStatus = app.exit(outcome, out, error) == 0 ? 0 : 1;
    }
    return parsed;
}

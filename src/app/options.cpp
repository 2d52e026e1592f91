#include "options.h"

#include "devicefile.h"
#include "paths.h"

#include <CLI/CLI.hpp>
#include <QRegularExpression>
#include <algorithm>
#include <iterator>
#include <limits>
#include <ostream>
#include <span>
#include <string_view>
#include <vector>

namespace {

void describeDevice(CLI::App& app, cDeviceOptions& device)
{
    zuloptions::addCounts(&app, &device.counts);
    constexpr auto kMax = std::numeric_limits<uint32_t>::max();
    zuloptions::addNumber(&app, "--serial", &device.serial, kMax, "Serial number, likewise");
    app.add_option("--label", device.label, "Label, likewise")->type_name("TEXT");
    zuloptions::addNumber(&app, "--device-version", &device.version, kMax, "Version, likewise");
}

/// Returns those of @p arguments that are not Qt's.
std::vector<std::string> ownArguments(std::span<const char* const> arguments, bool& platformNamed)
{
    const QRegularExpression withValue("^--?(platform(pluginpath|theme)?|plugin|display|session|"
                                       "style(sheet)?|(qwindow)?(geometry|title|icon))\\z");
    const QRegularExpression withoutValue("^--?(reverse\\z|widgetcount\\z|style(sheet)?=)");
    std::vector<std::string> own;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const QString argument = QString::fromLatin1(arguments[i]);
        if (withValue.match(argument).hasMatch()) {
            ++i;
            platformNamed = platformNamed || (argument.endsWith("-platform") && i < arguments.size());
        } else if (!withoutValue.match(argument).hasMatch()) {
            own.emplace_back(arguments[i]);
        }
    }
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
    describeDevice(app, options.device);
    auto* connection =
        addFile("--connection", options.connectionFile, "Take the server's address from this file");
    const auto takeServer = [&options](const std::string& text) {
        options.server = parseHostPort(text);
        options.connect = true;
        if (!options.server) {
            throw CLI::ValidationError("--server",
                                       "'" + text + "' is not HOST:PORT, with a port from 1 to 65535");
        }
    };
    app.add_option_function<std::string>("--server", takeServer,
                                         "Connect to this server; an IPv6 address stands in brackets")
        ->type_name("HOST:PORT")
        ->excludes(connection);
    app.add_flag("--connect", options.connect, "Connect to the server");
    addFile("--script", options.scripts, "Run this JavaScript file; may be given again, needs a device")
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    addFile("--run", options.run, "Run this JavaScript file, needs a device; the program ends with it")
        ->excludes("--script");
    zuloptions::addNumber(&app, "--seed", &options.seed, std::numeric_limits<uint32_t>::max(),
                          "Seed of the random numbers of scripts and scenarios");
    zuloptions::addScenarios(&app, &options.scenarios, &options.untilDone, &options.junit);
    app.add_flag("--check", options.check, "Only look whether the device and the scenarios are right");
    zuloptions::addTimeScale(&app, &options.timeScale);
    addFile("--log-config", options.logConfig, "Log as this log4cpp property file says");
    addFile("--capture", options.captureFile, "Record what crosses the link in this file (pcapng)");
    app.add_option("--control", options.control, "Take commands from a Unix socket, made at this path")
        ->type_name("PATH");
    app.add_flag("--headless", options.headless, "Run without a display");
    app.footer("The device is loaded first, then the connection file, then the device connects, and\n"
               "the scripts start last.\n"
               "The script of --run gets what stands behind -- as its arguments.\n"
               "Qt's own options, such as -platform and -style, are understood as well.");
    app.failure_message([](const CLI::App* program, const CLI::Error& mistake) {
        const std::string& name = program->get_name();
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
    if (options.server && options.connectionFile) {
        throw CLI::ExcludesError("--server", "--connection");
    }
    if (options.run && !options.scripts.empty()) {
        throw CLI::ExcludesError("--run", "--script");
    }
    if ((options.run || !options.scripts.empty()) && !options.deviceFile && !options.device.any()) {
        throw CLI::RequiresError(options.run ? "--run" : "--script", "--device");
    }
    if ((options.check || !options.scenarios.empty()) && !options.deviceFile && !options.device.any()) {
        throw CLI::RequiresError(options.check ? "--check" : "--scenario", "--device");
    }
}

} // namespace

bool cDeviceOptions::any() const { return version || serial || label || counts.any(); }

void cDeviceOptions::apply(cDeviceFile& device) const
{
    counts.apply(&device);
    if (version) {
        device.version = QString::number(*version);
    }
    if (serial) {
        device.serial = QString::number(*serial);
    }
    if (label) {
        device.label = QString::fromLocal8Bit(label->c_str());
    }
}

cParsedOptions parseOptions(int argc, const char* const* argv, const std::string& version, std::ostream& out,
                            std::ostream& error)
{
    cParsedOptions parsed;
    CLI::App app("Simulates one field device toward a site-monitoring server.", "zulbench");
    std::vector<std::string> files;
    cOptions& options = parsed.options;
    describe(app, version, options, files);
    const std::span arguments(argv + 1, argv + argc);
    const auto dashes = std::ranges::find(arguments, std::string_view("--"));
    const std::span rest(dashes == arguments.end() ? dashes : dashes + 1, arguments.end());
    try {
        std::vector<std::string> own =
            ownArguments(std::span(arguments.begin(), dashes), options.platformNamed);
        std::ranges::reverse(own); // CLI11 takes them so
        app.parse(std::move(own));
        if (options.run) {
            options.arguments.assign(rest.begin(), rest.end());
        } else {
            std::ranges::copy(ownArguments(rest, options.platformNamed), std::back_inserter(files));
        }
        takeFiles(files, options);
    } catch (const CLI::ParseError& outcome) {
        parsed.exitStatus = app.exit(outcome, out, error) == 0 ? 0 : 1;
    }
    return parsed;
}

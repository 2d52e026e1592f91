#include "server/app/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>
#include <utility>

#include "server/io/jsonline.h"
#include "zulcommand/commandwords.h"
#include "zulcommand/textfile.h"

namespace server {

using namespace zulcommand;

namespace {

constexpr const char* kFooter =
    "Standard output carries one JSON object per line. Commands are read from standard input, one per line,\n"
    "unless --command or --commands gives them; the command \"help\" lists them.\n"
    "Exit status: 0 done; 1 wrong usage or cannot listen; 2 a command ended in error; "
    "3 a command or the run\ntimed out; 4 an expectation was not met.";

/// The options before they are checked.
struct RawOptions
{
    std::string port = "50000";
    std::string count;
    std::string timeout;
    std::string commandsFile;
    std::optional<std::string> http;
    std::optional<std::string> httpRemote;
};

void declare(CLI::App* app, const std::string& version, Options* options, RawOptions* raw)
{
    app->footer(kFooter);
    app->set_version_flag("--version", version,
                          "Print the version, the commit and the libraries' versions, and end");
    const auto add = [app](const char* name, auto* value, const char* type, const char* help) {
        return app->add_option(name, *value, help)->type_name(type);
    };
    add("--listen", &options->listen, "ADDRESS", "Listen at this address, 127.0.0.1 unless given");
    add("--port", &raw->port, "N", "Listen at this port, 50000 unless given; 0 picks a free one");
    add("--port-file", &options->portFile, "FILE", "Write the port to this file while the server listens");
    add("--command", &options->commands, "COMMAND", "Run this command; may be given again")
        ->allow_extra_args(false);
    add("--commands", &raw->commandsFile, "FILE", "Then run the commands of this file, one per line");
    add("--count", &raw->count, "N", "End after so many messages");
    add("--timeout", &raw->timeout, "S", "End after so many seconds: the run has timed out");
    add("--junit", &options->junit, "FILE", "Write a report of the run to this file, as JUnit XML");
    add("--capture", &options->capture, "FILE",
        "Record what devices and server exchange in this file (pcapng)");
    add("--http", &raw->http, "ADDRESS:PORT", zulhttp::kHttpHelp);
    add("--http-remote", &raw->httpRemote, "NAMES", zulhttp::kRemoteHelp);
    add("--quiet", &options->quiet, "EVENT", "Leave out the lines of this event; may be given again")
        ->allow_extra_args(false);
    app->add_flag("--verbose", options->verbose, "Say more on standard error");
}

/// Appends the lines of the file. Returns why that is not possible, or an empty text.
std::string readCommands(const std::string& path, std::vector<std::string>* commands)
{
    std::string text;
    std::string mistake = zulcommand::readTextFile(path, &text);
    std::istringstream lines(text);
    for (std::string line; mistake.empty() && std::getline(lines, line);) {
        commands->push_back(line);
    }
    return mistake;
}

/// Checks the options. Returns what is wrong with them, or an empty text.
std::string check(const CLI::App& app, const RawOptions& raw, Options* options)
{
    const std::optional<uint32_t> port = parseNumber(raw.port, 0, 65535);
    if (!port) {
        return numberMistake("--port", raw.port, 0, 65535);
    }
    options->port = static_cast<uint16_t>(*port);
    if (options->listen.empty()) {
        return "--listen needs an address.";
    }
    options->count = parseNumber(raw.count, 1);
    if (app.count("--count") > 0 && !options->count) {
        return numberMistake("--count", raw.count, 1);
    }
    options->timeout = parseSeconds(raw.timeout);
    if (app.count("--timeout") > 0 && options->timeout.value_or(0.0) == 0.0) {
        return "--timeout is not a number of seconds above 0 and up to 86400: " + quote(raw.timeout) + ".";
    }
    for (const std::string& event : options->quiet) {
        if (std::ranges::find(kEvents, event) == kEvents.end()) {
            return "--quiet: there is no event " + quote(event) + ".";
        }
    }
    if (std::string mistake = zulhttp::readHttpSettings(raw.http, raw.httpRemote, &options->http);
        !mistake.empty()) {
        return mistake;
    }
    const bool fileGiven = app.count("--commands") > 0;
    options->commandsGiven = fileGiven || app.count("--command") > 0;
    return fileGiven ? readCommands(raw.commandsFile, &options->commands) : std::string();
}

} // namespace

ParsedOptions parseOptions(int argc, const char* const* argv, const std::string& version)
{
    CLI::App app("The companion monitoring server of zulbench.", "zulserver");
    Options options;
    RawOptions raw;
    declare(&app, version, &options, &raw);
    if (auto end = zuloptions::readCommandLine(&app, argc, argv, [&] { return check(app, raw, &options); })) {
        return {*std::move(end)};
    }
    return {{}, std::move(options)};
}

} // namespace server

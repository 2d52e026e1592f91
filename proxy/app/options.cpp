#include "proxy/app/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <random>
#include <string_view>
#include <utility>

#include "proxy/rules/ruleparser.h"
#include "proxy/rules/ruleset.h"
#include "zulcommand/commandwords.h"
#include "zulcommand/textfile.h"
#include "zuloptions/deviceoptions.h"

namespace proxy {

using zulcommand::quote;

namespace {

constexpr const char* kFooter =
    "The words behind -- are a command: {proxy} in them becomes the address of the proxy, which ends with "
    "it.\n"
    "Standard output carries one JSON object per line, and with a command standard error does. Commands to "
    "the\n"
    "proxy are read from standard input, one per line; the command \"help\" lists them.\n"
    "Exit status: 0 done; 1 wrong usage, a wrong rule or cannot listen; that of the command; 126 the "
    "command\n"
    "cannot be run; 127 there is no such command.";

/// The options before they are checked.
struct RawOptions
{
    std::optional<std::string> listen;
    std::optional<std::string> server;
    std::vector<std::string> rules;
    std::vector<std::string> ruleFiles;
    std::optional<uint32_t> seed;
    std::optional<std::string> against;
    std::optional<std::string> http;
    std::optional<std::string> httpRemote;
};

void declare(CLI::App* app, const std::string& version, Options* options, RawOptions* raw)
{
    app->footer(kFooter);
    app->set_version_flag("--version", version,
                          "Print the version, the commit and the libraries' versions, and end");
    const auto add = [app](const char* name, auto* value, const char* type, const char* help) {
        return app->add_option(name, *value, help)->type_name(type)->allow_extra_args(false);
    };
    add("--listen", &raw->listen, "ADDRESS:PORT",
        "Take devices here; port 0 picks a free one. With a command 127.0.0.1:0 unless given");
    add("--server", &raw->server, "HOST:PORT", "Pass them on to this server");
    add("--rule", &raw->rules, "RULE", "Misbehave like this; may be given again");
    add("--rules", &raw->ruleFiles, "FILE", "Take the rules of this file, one per line; may be given again");
    zuloptions::addNumber(app, "--seed", &raw->seed, zulcommand::kMaxNumber,
                          "Seed of all that rules leave to chance; chosen by chance unless given");
    add("--control", &options->control, "PATH", "Take commands at a Unix socket at this path, too");
    add("--capture", &options->capture, "FILE",
        "Record both sides in this file (pcapng), with the faults as comments");
    add("--http", &raw->http, "ADDRESS:PORT", zulhttp::kHttpHelp);
    add("--http-remote", &raw->httpRemote, "NAMES", zulhttp::kRemoteHelp);
    add("--log", &options->log, "FILE", "Write the JSON lines to this file");
    app->add_flag("--dry-run", options->dryRun,
                  "Only print the faults that the rules would give for a recorded session");
    add("--against", &raw->against, "CAPTURE", "The recorded session of --dry-run (pcapng or pcap)");
    zuloptions::addNumber(app, "--port", &options->port, 65535,
                          "The server's port in that session, 50000 unless given");
}

/// Reads ADDRESS:PORT, whose port may be 0. False if @p text is something else.
bool readListen(const std::string& text, Options* options)
{
    const std::optional<sHostPort> read = parseListenAddress(text);
    if (read) {
        options->listenAddress = read->host;
        options->listenPort = read->port;
    }
    return read.has_value();
}

/// What is wrong with the addresses, or an empty text.
std::string checkAddresses(const RawOptions& raw, Options* options)
{
    if (!raw.server) {
        return "--server HOST:PORT is needed.";
    }
    const std::optional<sHostPort> server = parseHostPort(*raw.server);
    if (!server) {
        return "--server is not HOST:PORT: " + quote(*raw.server) + ".";
    }
    options->server = *server;
    if (!raw.listen) {
        return options->command.empty() ? "--listen ADDRESS:PORT is needed." : "";
    }
    return readListen(*raw.listen, options) ? ""
                                            : "--listen is not ADDRESS:PORT: " + quote(*raw.listen) + ".";
}

/// What is wrong with the options of a dry run, or an empty text.
std::string checkDryRun(const RawOptions& raw, Options* options)
{
    if (!options->dryRun) {
        return raw.against ? "--against needs --dry-run." : options->port ? "--port needs --dry-run." : "";
    }
    if (!raw.against) {
        return "--dry-run needs --against CAPTURE.";
    }
    options->against = *raw.against;
    if (!options->command.empty()) {
        return "--dry-run starts no command.";
    }
    const std::pair<const char*, bool> others[] = {
        {"--control", options->control.has_value()},
        {"--capture", options->capture.has_value()},
        {"--log", options->log.has_value()},
        {"--http", raw.http.has_value()},
    };
    const auto* other = std::ranges::find(others, true, &std::pair<const char*, bool>::second);
    return other == std::end(others) ? "" : "--dry-run takes no " + std::string(other->first) + ".";
}

std::string readRuleFile(const std::string& path, std::vector<Rule>* rules)
{
    std::string content;
    const std::string mistake = zulcommand::readTextFile(path, &content);
    return mistake.empty() ? parseRules(content, path, rules) : "--rules: " + mistake;
}

std::string readRule(const std::string& text, std::vector<Rule>* rules)
{
    const std::string mistake = parseRule(text, &rules->emplace_back());
    return mistake.empty() ? "" : "--rule: " + mistake;
}

/// Reads the rules in the order of the command line. Returns the first mistake, or an empty text.
std::string readRules(const CLI::App& app, const RawOptions& raw, std::vector<Rule>* rules)
{
    std::string mistake;
    auto rule = raw.rules.begin();
    auto file = raw.ruleFiles.begin();
    for (const CLI::Option* option : app.parse_order()) {
        if (mistake.empty() && option->get_name() == "--rule") {
            mistake = readRule(*rule++, rules);
        } else if (mistake.empty() && option->get_name() == "--rules") {
            mistake = readRuleFile(*file++, rules);
        }
    }
    if (mistake.empty() && rules->size() > RuleSet::kMaxRules) {
        return "--rule and --rules give " + std::to_string(rules->size()) + " rules, more than " +
               std::to_string(RuleSet::kMaxRules) + ".";
    }
    return mistake;
}

std::string check(const CLI::App& app, const RawOptions& raw, Options* options)
{
    options->seed = raw.seed ? *raw.seed : std::random_device()();
    std::string mistake = checkDryRun(raw, options);
    if (mistake.empty() && !options->dryRun) {
        mistake = checkAddresses(raw, options);
    }
    if (mistake.empty()) {
        mistake = zulhttp::readHttpSettings(raw.http, raw.httpRemote, &options->http);
    }
    return mistake.empty() ? readRules(app, raw, &options->rules) : mistake;
}

} // namespace

ParsedOptions parseOptions(int argc, const char* const* argv, const std::string& version)
{
    CLI::App app("Stands between field devices and their server, and misbehaves on demand.", "zulproxy");
    Options options;
    RawOptions raw;
    declare(&app, version, &options, &raw);
    const char* const* end = argv + argc;
    const char* const* separator = std::find(argv, end, std::string_view("--"));
    if (separator != end) {
        options.command.assign(separator + 1, end);
    }
    const auto checked = [&]() -> std::string {
        return separator != end && options.command.empty() ? "-- needs a command behind it."
                                                           : check(app, raw, &options);
    };
    if (auto stop = zuloptions::readCommandLine(&app, static_cast<int>(separator - argv), argv, checked)) {
        return {*std::move(stop)};
    }
    return {{}, std::move(options)};
}

} // namespace proxy

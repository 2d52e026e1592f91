#include "fleet/app/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <boost/asio/ip/address.hpp>
#include <fstream>
#include <limits>
#include <random>
#include <sstream>
#include <utility>

#include "fleet/devices/steadytime.h"
#include "fleet/devices/timetext.h"
#include "wmsg/utf8.h"
#include "zulcommand/commandwords.h"
#include "zuldevice/devicefile.h"
#include "zuloptions/deviceoptions.h"

namespace fleet {

using zulcommand::quote;

namespace {

constexpr uint32_t kMaxNumber = std::numeric_limits<uint32_t>::max();

/// The largest fleet, all parts together.
constexpr uint32_t kMaxCount = 10'000'000;
constexpr double kMaxRate = 1'000'000.0;
constexpr size_t kMaxBindAddresses = 65'536;

/// How many bytes of a device file count.
constexpr std::streamsize kMaxFileBytes = 1024 * 1024;

constexpr const char* kFooter =
    "Times are seconds, or end in ms, s or m. An outage is storm@TIME:TIME, rolling:SHARE%/TIME or\n"
    "flap:SHARE%:TIME, with :reset behind it if connections are to be reset.\n"
    "Standard output carries the table at the end. Exit status: 0 done; 1 wrong usage, or a limit of the\n"
    "system is too low; 4 fewer devices than required were ever in, an event was dropped or still waited,\n"
    "or an expectation of a scenario was missed.";

/// The options before they are checked.
struct RawOptions
{
    std::optional<std::string> server;
    std::optional<uint32_t> count;
    std::optional<std::string> deviceFile;
    zuloptions::CountOptions counts;
    std::optional<uint32_t> version;
    std::optional<uint32_t> serialStart;
    std::optional<std::string> label;
    std::optional<uint32_t> seed;
    std::optional<std::string> connectRate;
    std::optional<std::string> bind;
    std::optional<std::string> events;
    std::optional<std::string> mix;
    std::optional<std::string> sampleEvery;
    std::vector<std::string> outages;
    std::optional<std::string> duration;
    std::optional<std::string> progress;
    std::optional<uint32_t> require;
    std::optional<std::string> shard;
    std::optional<std::string> http;
    std::optional<std::string> httpRemote;
};

void declareDevices(CLI::App* app, RawOptions* raw)
{
    using zuloptions::addNumber;
    addNumber(app, "--count", &raw->count, kMaxNumber, "Devices of the whole fleet");
    app->add_option("--device", raw->deviceFile, "Each device is as this device file says")
        ->type_name("FILE");
    zuloptions::addCounts(app, &raw->counts);
    addNumber(app, "--device-version", &raw->version, kMaxNumber, "Version, likewise");
    addNumber(app, "--serial-start", &raw->serialStart, kMaxNumber,
              "Serial number of the first device, 1 unless given");
    app->add_option("--label", raw->label,
                    "Label; {n} is the number of the device, from 0, and {n:04} has four digits")
        ->type_name("TEXT");
    addNumber(app, "--seed", &raw->seed, kMaxNumber, "Seed of all that is left to chance");
}

void declare(CLI::App* app, const std::string& version, Options* options, RawOptions* raw)
{
    app->footer(kFooter);
    app->set_version_flag("--version", version,
                          "Print the version, the commit and the libraries' versions, and end");
    const auto add = [app](const char* name, auto* value, const char* type, const char* help) {
        return app->add_option(name, *value, help)->type_name(type);
    };
    add("--server", &raw->server, "HOST:PORT", "The server; an IPv6 address stands in brackets");
    declareDevices(app, raw);
    add("--connect-rate", &raw->connectRate, "R", "Begin so many connections a second, 1000 unless given");
    add("--bind", &raw->bind, "ADDRESSES",
        "Connect from these addresses in turn: ADDRESS or ADDRESS-ADDRESS, separated by commas");
    add("--events", &raw->events, "R", "Report so many events a second, all devices together");
    add("--mix", &raw->mix, "MIX", "The shares of the kinds, like din=70,ain=20,scan=5,adhoc=5");
    add("--sample-every", &raw->sampleEvery, "S",
        "Sample each analog input so often, in the place of the devices' rates");
    zuloptions::addScenarios(app, &options->scenarios, &options->fleet.untilDone, &options->junit);
    app->add_flag("--check", options->check, "Only look whether the options and the scenarios are right");
    zuloptions::addTimeScale(app, &options->fleet.timeScale);
    add("--outage", &raw->outages, "OUTAGE", "Take connections down; may be given again")
        ->allow_extra_args(false);
    add("--duration", &raw->duration, "S", "End so long after the events began");
    add("--progress", &raw->progress, "S",
        "Tell so often on standard error how it goes, every 10 seconds unless given");
    add("--control", &options->control, "PATH", "Take commands from a Unix socket, made at this path");
    add("--http", &raw->http, "ADDRESS:PORT", zulhttp::kHttpHelp);
    add("--http-remote", &raw->httpRemote, "NAMES", zulhttp::kRemoteHelp);
    zuloptions::addNumber(app, "--require", &raw->require, kMaxNumber,
                          "End with status 4 if fewer devices were ever in");
    add("--report", &options->report, "FILE", "Write a report to this file, as JSON");
    add("--run-id", &options->runId, "TEXT", "The name of the run, which its parts share");
    add("--shard", &raw->shard, "I/N", "Play part I, from 0, of N parts of the fleet");
    add("--merge", &options->merge, "FILE", "Make one report of those of all parts, and end")
        ->expected(1, std::numeric_limits<int>::max());
}

/// Puts the number of @p text, above 0, into @p *rate.
std::string readRate(const char* name, const std::optional<std::string>& text, double* rate)
{
    if (!text) {
        return "";
    }
    *rate = zulcommand::parseDouble(*text).value_or(0.0);
    return *rate > 0.0 && *rate <= kMaxRate
               ? ""
               : std::string(name) + " is not a number above 0 and up to 1000000: " + quote(*text) + ".";
}

std::string readTime(const char* name, const std::optional<std::string>& text, std::optional<int64_t>* time)
{
    *time = text ? parseTime(*text) : std::nullopt;
    return text && !*time ? std::string(name) + " is not a time from 1ms to 86400s: " + quote(*text) + "."
                          : "";
}

/// The counts and the version of the devices, and the label of a device file.
std::string readDevice(const RawOptions& raw, FleetSettings* fleet, std::optional<std::string>* label)
{
    if (raw.deviceFile) {
        std::ifstream stream(*raw.deviceFile);
        std::string content(static_cast<size_t>(kMaxFileBytes), '\0');
        stream.read(content.data(), kMaxFileBytes);
        content.resize(static_cast<size_t>(stream.gcount()));
        if (!stream.eof() && stream.gcount() < kMaxFileBytes) {
            return "the device file " + quote(*raw.deviceFile) + " could not be opened.";
        }
        const auto file = zuldevice::DeviceFile::read(content);
        fleet->counts = file.counts;
        fleet->version = zuldevice::numberOrZero(file.version);
        *label = utf8::repaired(file.label.value_or("").c_str());
    }
    raw.counts.apply(&fleet->counts);
    fleet->version = raw.version.value_or(fleet->version);
    if (!zuldevice::hasTooManyItems(fleet->counts)) {
        return "";
    }
    return raw.counts.any() ? zuloptions::tooManyItems() + "."
                            : "the device file " + quote(*raw.deviceFile) + " could not be opened.";
}

std::string readLabel(const RawOptions& raw, const std::optional<std::string>& fileLabel,
                      FleetSettings* fleet)
{
    const std::optional<LabelPattern> pattern = LabelPattern::parse(raw.label.value_or("SITE {n}"));
    if (!pattern) {
        return "--label has something else than {n} or {n:04} behind a brace: " + quote(*raw.label) + ".";
    }
    if (raw.label && !pattern->numbered() && fleet->count > 1) {
        return "--label needs {n}, the number of the device, if there are several: " + quote(*raw.label) +
               ".";
    }
    fleet->label = fileLabel && !raw.label ? LabelPattern::literal(*fileLabel) : *pattern;
    return "";
}

std::string readFleet(const RawOptions& raw, FleetSettings* fleet)
{
    fleet->count = raw.count.value_or(0);
    if (fleet->count < 1 || fleet->count > kMaxCount) {
        return raw.count ? zulcommand::numberMistake("--count", std::to_string(*raw.count), 1, kMaxCount)
                         : "--count is needed: the number of devices.";
    }
    fleet->serialStart = raw.serialStart.value_or(1);
    if (uint64_t{fleet->serialStart} + fleet->count - 1 >= cObject::kWildcard) {
        return "--serial-start and --count give serial numbers beyond 4294967294, the last one.";
    }
    std::optional<std::string> fileLabel;
    std::string mistake = readDevice(raw, fleet, &fileLabel);
    return mistake.empty() ? readLabel(raw, fileLabel, fleet) : mistake;
}

std::string readEvents(const RawOptions& raw, FleetSettings* fleet)
{
    std::string mistake = readRate("--connect-rate", raw.connectRate, &fleet->connectRate);
    mistake = mistake.empty() ? readRate("--events", raw.events, &fleet->eventRate) : mistake;
    if (!mistake.empty()) {
        return mistake;
    }
    fleet->mix = EventMix::usual(fleet->counts);
    if (raw.mix) {
        mistake = EventMix::parse(*raw.mix, fleet->counts, &fleet->mix);
    }
    for (const std::string& text : raw.outages) {
        OutageOrder order;
        mistake = mistake.empty() ? parseOutage(text, &order) : mistake;
        fleet->outages.push_back(order);
    }
    mistake = mistake.empty() ? readTime("--sample-every", raw.sampleEvery, &fleet->sampleEvery) : mistake;
    return mistake.empty() ? readTime("--duration", raw.duration, &fleet->duration) : mistake;
}

std::string readShard(const RawOptions& raw, const Environment& environment, Options* options)
{
    std::string mistake;
    const std::optional<Shard> shard = raw.shard ? parseShard(*raw.shard) : shardFrom(environment, &mistake);
    if (raw.shard && !shard) {
        return shardMistake(*raw.shard);
    }
    if (!mistake.empty()) {
        return mistake;
    }
    options->isPart = shard.has_value();
    options->fleet.shard = shard.value_or(Shard());
    if (options->fleet.shard.of > 1 && !raw.seed) {
        return "--seed is needed: the parts of a fleet share one.";
    }
    if (options->fleet.shard.of > options->fleet.count) {
        return "--count is less than the number of parts: " + std::to_string(options->fleet.count) + " and " +
               std::to_string(options->fleet.shard.of) + ".";
    }
    options->fleet.seedIsGiven = raw.seed.has_value();
    options->fleet.seed = raw.seed ? *raw.seed : std::random_device{}();
    if (!options->runId) {
        options->runId = runFrom(environment);
    }
    return "";
}

std::string readServer(const RawOptions& raw, Options* options)
{
    const std::optional<sHostPort> server = parseHostPort(raw.server.value_or(""));
    if (!server) {
        return raw.server
                   ? "--server is not HOST:PORT, with a port from 1 to 65535: " + quote(*raw.server) + "."
                   : "--server is needed: where the devices connect to.";
    }
    options->server = *server;
    return raw.bind ? parseBind(*raw.bind, &options->bind) : "";
}

std::string readProgress(const RawOptions& raw, Options* options)
{
    std::optional<int64_t> time;
    std::string mistake = readTime("--progress", raw.progress, &time);
    options->progressSeconds = time ? inSeconds(*time) : options->progressSeconds;
    options->require = raw.require.value_or(0);
    if (mistake.empty() && options->require > options->fleet.count) {
        return "--require is more than --count: " + quote(std::to_string(options->require)) + ".";
    }
    return mistake;
}

/// Checks the options. Returns what is wrong with them, or an empty text.
std::string check(const RawOptions& raw, const Environment& environment, Options* options)
{
    if (!options->merge.empty()) {
        return "";
    }
    std::string mistake = readServer(raw, options);
    mistake = mistake.empty() ? readFleet(raw, &options->fleet) : mistake;
    mistake = mistake.empty() ? readEvents(raw, &options->fleet) : mistake;
    mistake = mistake.empty() ? zulhttp::readHttpSettings(raw.http, raw.httpRemote, &options->http) : mistake;
    mistake = mistake.empty() ? readShard(raw, environment, options) : mistake;
    return mistake.empty() ? readProgress(raw, options) : mistake;
}

/// Appends the addresses from @p first to @p last. False if they are too many or the wrong way round.
bool addRange(boost::asio::ip::address first, const boost::asio::ip::address& last,
              std::vector<std::string>* addresses)
{
    if (first.is_v4() != last.is_v4() || last < first) {
        return false;
    }
    const auto next = [](const boost::asio::ip::address& address) -> boost::asio::ip::address {
        if (address.is_v4()) {
            return boost::asio::ip::address_v4(address.to_v4().to_uint() + 1);
        }
        auto bytes = address.to_v6().to_bytes();
        for (auto byte = bytes.rbegin(); byte != bytes.rend() && ++*byte == 0; ++byte) {
        }
        return boost::asio::ip::address_v6(bytes);
    };
    for (; addresses->size() < kMaxBindAddresses; first = next(first)) {
        addresses->push_back(first.to_string());
        if (first == last) {
            return true;
        }
    }
    return false;
}

} // namespace

std::string parseBind(const std::string& text, std::vector<std::string>* addresses)
{
    const auto mistake = [](const std::string& part) {
        return "--bind has neither an address nor ADDRESS-ADDRESS, of up to 65536: " + quote(part) + ".";
    };
    std::istringstream parts(text + ",");
    for (std::string part; std::getline(parts, part, ',');) {
        const size_t dash = part.find('-');
        boost::system::error_code firstError;
        boost::system::error_code lastError;
        const auto first = boost::asio::ip::make_address(part.substr(0, dash), firstError);
        const auto last = dash == std::string::npos
                              ? first
                              : boost::asio::ip::make_address(part.substr(dash + 1), lastError);
        if (firstError || lastError || !addRange(first, last, addresses)) {
            return mistake(part);
        }
    }
    return "";
}

ParsedOptions parseOptions(int argc, const char* const* argv, const std::string& version,
                           const Environment& environment)
{
    CLI::App app("Plays many field devices toward a site-monitoring server.", "zulfleet");
    Options options;
    RawOptions raw;
    declare(&app, version, &options, &raw);
    if (auto end = zuloptions::readCommandLine(&app, argc, argv,
                                               [&] { return check(raw, environment, &options); })) {
        return {*std::move(end)};
    }
    return {{}, std::move(options)};
}

} // namespace fleet

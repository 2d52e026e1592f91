#include "fleet/report/merge.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <tuple>

#include "fleet/report/reporttable.h"
#include "zulcommand/commandwords.h"

namespace fleet {

using zulcommand::JsonPtr;
using zulcommand::quote;

namespace {

using Parts = std::vector<NamedReport>;

std::string runText(const std::optional<std::string>& run) { return run ? "run " + quote(*run) : "no run"; }

/// Why @p part does not belong to the run of @p first; an empty text if it does.
std::string strangeness(const NamedReport& first, const NamedReport& part)
{
    const FleetReport& wanted = first.report;
    const FleetReport& report = part.report;
    const std::string two = quote(part.name) + " and " + quote(first.name) + " are of different ";
    if (report.run != wanted.run) {
        return two + "runs: " + runText(report.run) + " and " + runText(wanted.run) + ".";
    }
    if (report.seed != wanted.seed) {
        return two + "seeds: " + std::to_string(report.seed) + " and " + std::to_string(wanted.seed) + ".";
    }
    if (report.shard->of != wanted.shard->of) {
        return two + "fleets: shard " + report.shard->text() + " and shard " + wanted.shard->text() + ".";
    }
    return {};
}

std::string missingText(const std::map<uint32_t, std::string>& found, uint32_t of)
{
    constexpr uint32_t kMaxNamed = 10;
    const size_t missing = of - found.size();
    std::string names;
    uint32_t named = 0;
    for (uint32_t i = 0; i < of && named < kMaxNamed; ++i) {
        if (!found.contains(i)) {
            names += (named++ > 0 ? ", " : "") + Shard{i, of}.text();
        }
    }
    return (missing == 1 ? "The report of one shard is missing: "
                         : "The reports of " + std::to_string(missing) + " shards are missing: ") +
           names + (missing > named ? " and others." : ".");
}

/// What is wrong with these reports as the parts of one fleet, or an empty text.
std::string mistakeIn(const Parts& parts)
{
    if (parts.empty()) {
        return "--merge needs the reports of all shards of a run.";
    }
    std::map<uint32_t, std::string> found;
    for (const NamedReport& part : parts) {
        if (!part.report.shard) {
            return quote(part.name) + " is the report of a whole fleet, not of a shard.";
        }
        std::string strange = strangeness(parts.front(), part);
        if (!strange.empty()) {
            return strange;
        }
        const auto [place, isNew] = found.emplace(part.report.shard->index, part.name);
        if (!isNew) {
            return quote(part.name) + " and " + quote(place->second) + " are both of shard " +
                   part.report.shard->text() + ".";
        }
    }
    const uint32_t of = parts.front().report.shard->of;
    return found.size() < of ? missingText(found, of) : std::string();
}

using OptionalNumber = std::optional<double>;

/// Nothing if one of the two is unknown.
OptionalNumber sum(const OptionalNumber& a, const OptionalNumber& b)
{
    return a && b ? OptionalNumber(*a + *b) : std::nullopt;
}

OptionalNumber latest(const OptionalNumber& a, const OptionalNumber& b)
{
    return a && b ? OptionalNumber(std::max(*a, *b)) : std::nullopt;
}

/// Each text of the parts once, "a, b".
std::string joined(const Parts& parts, std::string FleetReport::*member)
{
    std::set<std::string> texts;
    for (const NamedReport& part : parts) {
        texts.insert(part.report.*member);
    }
    std::string text;
    for (const std::string& one : texts) {
        text += (text.empty() ? "" : ", ") + one;
    }
    return text;
}

/// The mean of what was measured, where a part counts as often as @p weight says.
template <class Weight>
OptionalNumber mean(const Parts& parts, OptionalNumber FleetReport::*member, const Weight& weight)
{
    double total = 0.0;
    double weights = 0.0;
    for (const NamedReport& part : parts) {
        const double one = static_cast<double>(weight(part.report));
        total += (part.report.*member).value_or(0.0) * one;
        weights += part.report.*member ? one : 0.0;
    }
    return weights > 0.0 ? OptionalNumber(total / weights) : std::nullopt;
}

void addDevices(FleetReport::Devices* all, const FleetReport::Devices& part)
{
    all->asked += part.asked;
    all->in += part.in;
    for (const auto& [reason, devices] : part.refused) {
        all->refused[reason] += devices;
    }
    all->lost += part.lost;
}

void addLatencies(FleetReport::Latencies* all, const FleetReport::Latencies& part)
{
    all->connect.merge(part.connect);
    all->identified.merge(part.identified);
    all->event.merge(part.event);
    all->answer.merge(part.answer);
}

void addOutage(Outage* all, const Outage& part)
{
    all->devices += part.devices;
    all->secondsUntilBack = latest(all->secondsUntilBack, part.secondsUntilBack);
    all->mostConnects += part.mostConnects;
}

/// The outages of all parts by their time. Several of one kind at one time are told apart by their order.
std::vector<Outage> mergedOutages(const Parts& parts)
{
    using Key = std::tuple<double, std::string, size_t>;
    std::map<Key, Outage> merged;
    for (const NamedReport& part : parts) {
        std::map<Key, size_t> seen;
        for (const Outage& outage : part.report.outages) {
            const size_t number = seen[{outage.at, outage.kind, 0}]++;
            const auto [place, isNew] = merged.emplace(Key(outage.at, outage.kind, number), outage);
            if (!isNew) {
                addOutage(&place->second, outage);
            }
        }
    }
    std::vector<Outage> outages;
    outages.reserve(merged.size());
    for (auto& [key, outage] : merged) {
        outages.push_back(std::move(outage));
    }
    return outages;
}

/// Adds what a sum, a maximum or a minimum is made of.
void addPart(FleetReport* all, const FleetReport& part)
{
    addDevices(&all->devices, part.devices);
    all->connects.planned = sum(all->connects.planned, part.connects.planned);
    all->connects.reached += part.connects.reached;
    all->secondsUntilAllIn = latest(all->secondsUntilAllIn, part.secondsUntilAllIn);
    for (size_t i = 0; i < kEventKinds.size(); ++i) {
        all->kinds[i] += part.kinds[i];
    }
    addLatencies(&all->latencies, part.latencies);
    all->limits.descriptors = std::min(all->limits.descriptors, part.limits.descriptors);
    all->limits.ports = std::min(all->limits.ports, part.limits.ports);
}

/// Reads a part. Nothing, and the sentence why, if that is not possible.
std::optional<FleetReport> readPart(const std::string& path, std::string* mistake)
{
    const std::unique_ptr<std::FILE, decltype(&std::fclose)> file(std::fopen(path.c_str(), "re"),
                                                                  &std::fclose);
    if (!file) {
        *mistake = "Cannot read " + quote(path) + ": " + strerrordesc_np(errno) + ".";
        return {};
    }
    json_error_t error;
    const JsonPtr json(json_loadf(file.get(), JSON_REJECT_DUPLICATES, &error));
    if (!json) {
        *mistake = quote(path) + " is no report: " + error.text + ".";
        return {};
    }
    std::string reason;
    std::optional<FleetReport> report = fromJson(json.get(), &reason);
    if (!report) {
        *mistake = quote(path) + " is no report of zulfleet: " + reason + ".";
    }
    return report;
}

/// Reads and merges. Nothing, and the sentence why, if that is not possible.
std::optional<FleetReport> mergeFiles(const std::vector<std::string>& files, std::string* mistake)
{
    Parts parts;
    for (const std::string& file : files) {
        std::optional<FleetReport> report = readPart(file, mistake);
        if (!report) {
            return {};
        }
        parts.push_back({file, std::move(*report)});
    }
    return mergeReports(parts, mistake);
}

} // namespace

std::optional<FleetReport> mergeReports(const Parts& parts, std::string* mistake)
{
    *mistake = mistakeIn(parts);
    if (!mistake->empty()) {
        return {};
    }
    FleetReport all = parts.front().report;
    for (size_t i = 1; i < parts.size(); ++i) {
        addPart(&all, parts[i].report);
    }
    all.shard.reset();
    all.version = joined(parts, &FleetReport::version);
    all.kernel = joined(parts, &FleetReport::kernel);
    all.outages = mergedOutages(parts);
    all.bytesPerDevice =
        mean(parts, &FleetReport::bytesPerDevice, [](const FleetReport& part) { return part.devices.asked; });
    all.secondsPer1000Events = mean(parts, &FleetReport::secondsPer1000Events,
                                    [](const FleetReport& part) { return part.events().sent; });
    return all;
}

int runMerge(const std::vector<std::string>& files, const std::optional<std::string>& reportPath,
             std::ostream& out, std::ostream& err)
{
    std::string mistake;
    const std::optional<FleetReport> all = mergeFiles(files, &mistake);
    if (all && reportPath) {
        const WStatus status = writeReport(*all, *reportPath);
        mistake = status.isOk() ? "" : writeMistake(*reportPath, status);
    }
    if (!mistake.empty()) {
        err << "zulfleet: " << mistake << "\n";
        return 1;
    }
    out << reportTable(*all) << std::flush;
    return 0;
}

} // namespace fleet

// Reports of a fleet and what they are merged to. The input: one report a line.

#include <algorithm>
#include <sstream>

#include "fleet/report/merge.h"
#include "fleet/report/reporttable.h"
#include "fuzzinput.h"
#include "property.h"

namespace {

using Reports = std::vector<fleet::NamedReport>;

std::optional<fleet::FleetReport> readReport(const std::string& text)
{
    const zulcommand::JsonPtr json(json_loadb(text.data(), text.size(), 0, nullptr));
    std::string mistake;
    const std::optional<fleet::FleetReport> report = fleet::fromJson(json.get(), &mistake);
    require(report.has_value() == mistake.empty(), "what is no report has its mistake told");
    return report;
}

void checkReport(const fleet::FleetReport& report)
{
    const std::string text = fleet::reportText(report);
    const std::optional<fleet::FleetReport> again = readReport(text);
    require(again.has_value(), "what was written is read");
    require(fleet::reportText(*again) == text, "a report reads back as it was written");
    require(!fleet::reportTable(report).empty(), "a report has a table");
}

/// The sum of a number of all reports.
template <class Number>
uint64_t sum(const Reports& reports, const Number& number)
{
    uint64_t all = 0;
    for (const fleet::NamedReport& one : reports) {
        all += number(one.report);
    }
    return all;
}

void checkMerged(const Reports& parts, const fleet::FleetReport& all)
{
    require(!all.shard, "what is merged is a whole fleet");
    require(parts.size() == parts.front().report.shard->of, "no part is missing");
    const auto isSum = [&](const auto& number) { return number(all) == sum(parts, number); };
    require(isSum([](const fleet::FleetReport& one) { return one.devices.in; }), "devices are added up");
    require(isSum([](const fleet::FleetReport& one) { return one.events().planned; }), "events are added up");
    require(isSum([](const fleet::FleetReport& one) { return one.latencies.answer.count(); }),
            "latencies are added up");
    for (const fleet::NamedReport& part : parts) {
        require(part.report.latencies.event.max() <= all.latencies.event.max(), "the longest time is kept");
        require(part.report.seed == all.seed && part.report.run == all.run, "the parts are of one run");
    }
}

void checkMerging(Reports reports)
{
    std::string mistake;
    const std::optional<fleet::FleetReport> all = fleet::mergeReports(reports, &mistake);
    require(all.has_value() == mistake.empty(), "what cannot be merged has its mistake told");
    std::reverse(reports.begin(), reports.end());
    std::string other;
    require(fleet::mergeReports(reports, &other).has_value() == all.has_value(),
            "the order does not decide whether reports can be merged");
    if (all) {
        checkMerged(reports, *all);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::istringstream lines(FuzzInput(data, size).restText());
    Reports reports;
    for (std::string line; std::getline(lines, line);) {
        if (const std::optional<fleet::FleetReport> report = readReport(line)) {
            checkReport(*report);
            reports.push_back({std::to_string(reports.size()), *report});
        }
    }
    checkMerging(std::move(reports));
    return 0;
}

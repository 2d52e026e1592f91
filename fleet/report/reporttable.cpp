#include "fleet/report/reporttable.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

namespace fleet {

namespace {

std::string numberText(const char* format, double number)
{
    std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), format, number);
    return text.data();
}

/// About three digits.
std::string threeDigits(double number)
{
    const char* const format = number >= 99.95 ? "%.0f" : number >= 9.995 ? "%.1f" : "%.2f";
    return numberText(format, number);
}

std::string timeText(double seconds)
{
    return seconds < 0.9995 ? threeDigits(seconds * 1000.0) + " ms" : threeDigits(seconds) + " s";
}

std::string timeText(uint64_t microseconds) { return timeText(static_cast<double>(microseconds) / 1e6); }

/// "-" if there is none.
std::string timeText(const std::optional<double>& seconds) { return seconds ? timeText(*seconds) : "-"; }

std::string rateText(const std::optional<double>& rate) { return rate ? threeDigits(*rate) : "-"; }

using Row = std::vector<std::string>;

/// Lines of columns: the first column begins at the left, the others end at the right.
std::string lines(const std::vector<Row>& rows)
{
    constexpr int kFirstWidth = 12;
    constexpr int kWidth = 11;
    std::string text;
    for (const Row& row : rows) {
        std::string line = row.front();
        for (size_t i = 1; i < row.size(); ++i) {
            const size_t end = kFirstWidth + i * kWidth;
            const size_t used = line.size() + row[i].size();
            line += std::string(used < end ? end - used : 1, ' ') + row[i];
        }
        text += line + "\n";
    }
    return text;
}

Row eventRow(const char* name, const EventCounts& counts)
{
    return {name,
            std::to_string(counts.planned),
            std::to_string(counts.sent),
            std::to_string(counts.late),
            std::to_string(counts.leftOut),
            std::to_string(counts.dropped),
            std::to_string(counts.waiting)};
}

Row latencyRow(const char* name, const Histogram& times)
{
    Row row = {name, std::to_string(times.count())};
    for (const double percent : {50.0, 90.0, 99.0, 99.9, 100.0}) {
        row.push_back(times.count() > 0 ? timeText(times.percentile(percent)) : "-");
    }
    return row;
}

std::string titleText(const FleetReport& report)
{
    return "zulfleet " + report.version + " on " + report.kernel + ", seed " + std::to_string(report.seed) +
           (report.run ? ", run " + *report.run : "") +
           (report.shard ? ", shard " + report.shard->text() : "") + "\n\n";
}

std::string deviceLines(const FleetReport& report)
{
    uint64_t refused = 0;
    for (const auto& [reason, devices] : report.devices.refused) {
        refused += devices;
    }
    std::string text = lines({{"devices", "asked", "in", "refused", "lost"},
                              {"", std::to_string(report.devices.asked), std::to_string(report.devices.in),
                               std::to_string(refused), std::to_string(report.devices.lost)}});
    for (const auto& [reason, devices] : report.devices.refused) {
        text += "  refused " + std::to_string(devices) + ": " + reason + "\n";
    }
    return text;
}

std::string outageLines(const FleetReport& report)
{
    if (report.outages.empty()) {
        return "";
    }
    std::vector<Row> rows = {{"outages", "at", "devices", "back after", "connects/s"}};
    for (const Outage& outage : report.outages) {
        rows.push_back({"  " + outage.kind, timeText(outage.at), std::to_string(outage.devices),
                        timeText(outage.secondsUntilBack), std::to_string(outage.mostConnects)});
    }
    return lines(rows) + "\n";
}

} // namespace

std::string reportTable(const FleetReport& report)
{
    std::string text = titleText(report) + deviceLines(report) + "\n";
    text += lines({{"connects", "planned/s", "reached/s", "all in"},
                   {"", rateText(report.connects.planned), rateText(report.connects.reached),
                    timeText(report.secondsUntilAllIn)}}) +
            "\n";

    std::vector<Row> events = {{"events", "planned", "sent", "late", "left out", "dropped", "waiting"}};
    for (size_t i = 0; i < kEventKinds.size(); ++i) {
        events.push_back(eventRow((std::string("  ") + kEventKinds[i]).c_str(), report.kinds[i]));
    }
    events.push_back(eventRow("  all", report.events()));
    text += lines(events) + "\n";

    const FleetReport::Latencies& latencies = report.latencies;
    text += lines({{"latencies", "count", "p50", "p90", "p99", "p99.9", "max"},
                   latencyRow("  connect", latencies.connect),
                   latencyRow("  identified", latencies.identified),
                   latencyRow("  event", latencies.event),
                   latencyRow("  answer", latencies.answer)}) +
            "\n";

    text += outageLines(report);
    text += lines({{"costs", "bytes/dev", "s/1000 ev"},
                   {"", report.bytesPerDevice ? numberText("%.0f", *report.bytesPerDevice) : "-",
                    report.secondsPer1000Events ? numberText("%.4f", *report.secondsPer1000Events) : "-"}});
    return text;
}

} // namespace fleet

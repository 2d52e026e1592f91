#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "fleet/report/shard.h"
#include "wmsg/wstatus.h"
#include "zulcommand/histogram.h"

namespace fleet {

using zulcommand::Histogram;

/// The kinds of events, in the order of FleetReport::kinds.
enum class eEventKind : size_t
{
    DIN,
    AIN,
    SCAN,
    ADHOC
};
constexpr std::array<const char*, 4> kEventKinds = {"din", "ain", "scan", "adhoc"};

/// What became of the events that were planned: planned = sent + leftOut + dropped + waiting.
struct EventCounts
{
    uint64_t planned = 0;
    uint64_t sent = 0;
    uint64_t late = 0; ///< of those that were sent
    uint64_t leftOut = 0;
    uint64_t dropped = 0;
    uint64_t waiting = 0; ///< at the end

    EventCounts& operator+=(const EventCounts& other);
    bool operator==(const EventCounts&) const = default;
};

/// One time that devices lost their connections because an option said so.
struct Outage
{
    std::string kind;
    double at =
        0.0; ///< as planned, which is the same in all parts of a fleet; in seconds after the events began
    uint64_t devices = 0;
    std::optional<double> secondsUntilBack; ///< from its beginning; nothing if some never came back
    uint64_t mostConnects = 0;              ///< in any second
};

/// All that a run of a fleet has to say at its end.
///
/// Times are in seconds. What has no value was not measured, and is null in the JSON.
struct FleetReport
{
    struct Devices
    {
        uint64_t asked = 0;
        uint64_t in = 0;                         ///< identified at least once
        std::map<std::string, uint64_t> refused; ///< devices by the reason in a few words
        uint64_t lost = 0;                       ///< in once and not at the end, planned outages aside
    };

    /// Connections begun in a second.
    struct Connects
    {
        std::optional<double> planned;
        double reached = 0.0;
    };

    /// From the intended time.
    struct Latencies
    {
        Histogram connect;
        Histogram identified;
        Histogram event;
        Histogram answer;
    };

    struct Limits
    {
        uint64_t descriptors = 0;
        uint64_t ports = 0;
    };

    std::string version;
    std::string kernel;
    uint32_t seed = 0;
    std::optional<Shard> shard;     ///< nothing if it was the whole fleet
    std::optional<std::string> run; ///< the same in all parts of a run
    Devices devices;
    Connects connects;
    std::optional<double> secondsUntilAllIn;
    std::array<EventCounts, kEventKinds.size()> kinds;
    Latencies latencies;
    std::vector<Outage> outages;
    std::optional<double> bytesPerDevice;
    std::optional<double> secondsPer1000Events; ///< of the processor
    Limits limits;

    EventCounts& events(eEventKind kind) { return kinds[static_cast<size_t>(kind)]; }

    /// Those of all kinds.
    EventCounts events() const;
};

/// The JSON in one line, without its end.
std::string reportText(const FleetReport& report);

/// Reads the JSON of a report. Nothing if it is no report or contradicts itself; then *@p mistake says where.
std::optional<FleetReport> fromJson(const json_t* json, std::string* mistake);

/// An error if writeReport() could not replace or create the file now. Changes nothing.
WStatus checkReport(const std::string& path);

/// Replaces the file by the JSON in one step.
WStatus writeReport(const FleetReport& report, const std::string& path);

/// The sentence that @p path cannot be written.
std::string writeMistake(const std::string& path, const WStatus& status);

} // namespace fleet

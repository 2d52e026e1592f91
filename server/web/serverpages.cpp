#include "server/web/serverpages.h"

#include <algorithm>

#include "zulcommand/commandwords.h"

namespace server {

using zulhttp::MetricsText;
using zulhttp::Request;
using zulhttp::Response;

namespace {

constexpr uint32_t kMaxDevices = 1000;

/// The number of the parameter @p name from @p min to @p max, or @p otherwise if it is not given; nothing if
/// it is wrong.
std::optional<uint32_t> numberIn(const Request& request, const char* name, uint32_t min, uint32_t max,
                                 uint32_t otherwise)
{
    const std::optional<std::string> text = request.parameter(name);
    return text ? zulcommand::parseNumber(*text, min, max) : otherwise;
}

json_t* deviceJson(const DeviceSession& session)
{
    json_t* json = session.device()->getJSONObj();
    json_object_del(json, "type");
    json_object_set_new(json, "peer", zulcommand::textOf(session.peer()));
    return json;
}

} // namespace

ServerPages::ServerPages(zulhttp::ProgramSite& site, DeviceSessions& sessions, const CommandRunner& runner)
    : mSessions(sessions), mRunner(runner)
{
    mSessions.setCounts(mCounts);
    site.onMetrics = [this](MetricsText& metrics) { writeMetrics(metrics); };
    site.site().get("/devices", [this](const Request& request) { return devices(request); });
}

void ServerPages::writeMetrics(MetricsText& metrics) const
{
    const DeviceSessions::Counts counts = mSessions.counts();
    metrics.gauge("zul_devices_connected", "Connections of devices that are open now.")
        .value(counts.connected);
    metrics.gauge("zul_devices_identified", "Devices that have said who they are and are connected now.")
        .value(counts.identified);
    metrics.counter("zul_connects_total", "Connections that were accepted.").value(mSessions.connections());
    metrics.counter("zul_disconnects_total", "Connections that have ended, by the reason.");
    for (const auto& [reason, count] : mCounts->disconnects) {
        metrics.value(count, {{"reason", reason}});
    }
    writeMessages(metrics);
    metrics.gauge("zul_commands_waiting", "Commands that have not begun.").value(mRunner.waiting().size());
    metrics.gauge("zul_output_congested", "1 while standard output is not read and devices wait for that.")
        .value(mSessions.isCongested() ? 1 : 0);
}

void ServerPages::writeMessages(MetricsText& metrics) const
{
    metrics.counter("zul_messages_total", "Messages that were sent or received, by what became of them.");
    for (const auto& [key, count] : mCounts->messages) {
        metrics.value(count, {{"direction", key[0]}, {"type", key[1]}, {"outcome", key[2]}});
    }
    metrics
        .histogram("zul_request_duration_seconds",
                   "Time from a request to its answer, of commands and of the server itself.")
        .value(mCounts->commandRequests, {{"origin", "command"}})
        .value(mCounts->serverRequests, {{"origin", "server"}});
}

Response ServerPages::devices(const Request& request) const
{
    const std::optional<uint32_t> limit = numberIn(request, "limit", 1, kMaxDevices, 100);
    const std::optional<uint32_t> after = numberIn(request, "after", 0, zulcommand::kMaxNumber, 0);
    if (!limit || !after) {
        return zulhttp::problem(400,
                                "limit is a number from 1 to 1000, and after is the serial of a device.");
    }
    std::vector<DeviceSessions::SessionPtr> sessions = mSessions.matching({});
    const auto serialOf = [](const auto& session) { return session->device()->getDeviceSerial(); };
    if (request.parameter("after")) {
        std::erase_if(sessions, [&](const auto& session) { return serialOf(session) <= *after; });
    }
    std::ranges::sort(sessions, {}, serialOf);
    json_t* list = json_array();
    size_t taken = 0;
    // Devices with the same serial stay together, or the next request would leave one out.
    while (taken < sessions.size() &&
           (taken < *limit || serialOf(sessions[taken]) == serialOf(sessions[taken - 1]))) {
        json_array_append_new(list, deviceJson(*sessions[taken++]));
    }
    json_t* next = taken < sessions.size() ? json_integer(serialOf(sessions[taken - 1])) : json_null();
    return zulhttp::jsonResponse(zulcommand::JsonPtr(json_pack("{s:o, s:o}", "devices", list, "next", next)));
}

} // namespace server

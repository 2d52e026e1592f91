#include "controllines.h"

#include <chrono>

#include "cainput.h"
#include "scriptevent.h"
#include "zulcommand/reply.h"
#include "zullink/linkstate.h"

namespace controllines {

namespace {

const char* wordOf(sLinkState::eState state)
{
    constexpr const char* kWords[] = {"off", "down", "up"};
    return kWords[state];
}

/// Null for an empty text.
json_t* textOrNull(const std::string& text) { return text.empty() ? json_null() : zulcommand::textOf(text); }

JsonPtr objectLine(const char* event, const cObject& record)
{
    return JsonPtr(json_pack("{s:s, s:o}", "event", event, "object", objectOf(record).release()));
}

} // namespace

JsonPtr objectOf(const cObject& record)
{
    JsonPtr json(record.getJSONObj());
    if (const auto* input = dynamic_cast<const cAInput*>(&record)) {
        json_object_set_new(json.get(), "value", json_integer(input->getCurrentSample()));
    }
    return json;
}

JsonPtr changedLine(const cObject& record) { return objectLine("changed", record); }

JsonPtr setLine(const cObject& record) { return objectLine("set", record); }

JsonPtr setMessageLine(uint32_t /*deviceSerial*/, const cObjectList& message)
{
    const JsonPtr objects = zulcommand::objectsOf(message);
    return JsonPtr(json_pack("{s:s, s:O}", "event", "set", "object", json_array_get(objects.get(), 0)));
}

JsonPtr linkLine(const sLinkState& state)
{
    return JsonPtr(json_pack("{s:s, s:s, s:o, s:o}", "event", "link", "state", wordOf(state.state), "server",
                             textOrNull(state.server), "reason", textOrNull(state.reason)));
}

JsonPtr linkMember(const sLinkState& state)
{
    const auto since = std::chrono::duration_cast<std::chrono::seconds>(state.since.time_since_epoch());
    return JsonPtr(json_pack("{s:s, s:o, s:I, s:I, s:I}", "state", wordOf(state.state), "server",
                             textOrNull(state.server), "since", json_int_t{since.count()}, "waiting",
                             static_cast<json_int_t>(state.waiting), "dropped",
                             static_cast<json_int_t>(state.dropped)));
}

JsonPtr scriptLine(const sScriptEvent& event)
{
    constexpr const char* kWords[] = {"started", "ended", "failed", "stopped"};
    return JsonPtr(json_pack("{s:s, s:o, s:s, s:o, s:o}", "event", "script", "file",
                             zulcommand::textOf(event.file.toStdString()), "state", kWords[event.state],
                             "error", textOrNull(event.error.toStdString()), "line",
                             event.line > 0 ? json_integer(event.line) : json_null()));
}

} // namespace controllines

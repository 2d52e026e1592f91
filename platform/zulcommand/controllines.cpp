#include "zulcommand/controllines.h"

#include <chrono>

#include "zulcommand/reply.h"
#include "zullink/linkstate.h"

namespace controllines {

namespace {

const char* wordOf(sLinkState::eState state)
{
    constexpr const char* kWords[] = {"off", "down", "up"};
    return kWords[state];
}

JsonPtr objectLine(const char* event, JsonPtr object)
{
    return JsonPtr(json_pack("{s:s, s:o}", "event", event, "object", object.release()));
}

} // namespace

json_t* textOrNull(const std::string& text) { return text.empty() ? json_null() : zulcommand::textOf(text); }

JsonPtr changedLine(JsonPtr object) { return objectLine("changed", std::move(object)); }

JsonPtr setLine(const cObject& record) { return objectLine("set", JsonPtr(record.getJSONObj())); }

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

} // namespace controllines

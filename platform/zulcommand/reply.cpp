#include "zulcommand/reply.h"

#include <cmath>

namespace zulcommand {

const char* statusWord(Reply::Status status)
{
    constexpr const char* kWords[] = {"ok", "error", "timeout", "failed"};
    return kWords[static_cast<size_t>(status)];
}

JsonPtr replyLine(const std::string& command, double seconds, const Reply& reply)
{
    JsonPtr line(json_pack(
        "{s:s, s:o, s:s, s:o, s:O, s:f, s:o*, s:O*}", "event", "reply", "command", textOf(command), "status",
        statusWord(reply.status), "msgType", reply.msgType ? json_integer(*reply.msgType) : json_null(),
        "objects", reply.objects.get(), "seconds", std::round(seconds * 1e6) / 1e6, "error",
        reply.error.empty() ? nullptr : textOf(reply.error), "came", reply.received.get()));
    json_object_update(line.get(), reply.members.get()); // nothing for a null
    return line;
}

JsonPtr objectsOf(const cObjectList& list)
{
    const JsonPtr json(list.getJSONObj());
    return JsonPtr(json_incref(json_object_get(json.get(), "objects")));
}

} // namespace zulcommand

#include "capture/show/messageline.h"

#include <cmath>

#include "zulcommand/reply.h"

namespace capture {

using zulcommand::JsonPtr;

namespace {

json_t* serialOf(const Connection& connection)
{
    return connection.deviceSerial ? json_integer(*connection.deviceSerial) : json_null();
}

void set(const JsonPtr& line, const char* name, json_t* value)
{
    json_object_set_new(line.get(), name, value);
}

} // namespace

std::string messageLine(const RecordedItem& item)
{
    cObjectList list;
    const WStatus status = list.decode(item.message);
    JsonPtr line(json_pack("{s:s, s:s, s:o, s:i, s:i, s:b}", "event", "message", "dir",
                           nameOf(item.direction), "deviceSerial", serialOf(*item.connection), "msgType",
                           item.message.type, "msgSeq", item.message.seq, "answer", item.message.answer));
    if (item.message.control) {
        set(line, "ping", json_true());
    }
    set(line, "objects", zulcommand::objectsOf(list).release());
    if (item.question) {
        const double seconds = static_cast<double>(item.timeNs - item.question->timeNs) / 1e9;
        set(line, "seconds", json_real(std::round(seconds * 1e6) / 1e6));
    }
    if (!status.isOk()) {
        set(line, "error", zulcommand::textOf(status.text()));
    }
    return zulcommand::lineText(line, item.timeNs);
}

} // namespace capture

#include "proxy/faults/faultline.h"

#include "zulobj/jsonvalue.h"

namespace proxy {

namespace {

template <class Number>
json_t* numberOrNull(const std::optional<Number>& number)
{
    return number ? json_integer(*number) : json_null();
}

} // namespace

zulcommand::JsonPtr faultLine(const Fault& fault)
{
    zulcommand::JsonPtr line(json_object());
    const auto set = [&line](const char* name, json_t* value) {
        json_object_set_new(line.get(), name, value);
    };
    set("event", json_string("fault"));
    set("rule", json_integer(fault.rule));
    set("kind", json_string(nameOf(fault.kind)));
    set("device", numberOrNull(fault.deviceSerial));
    set("dir", fault.direction ? json_string(nameOf(*fault.direction)) : json_null());
    set("msgSeq", numberOrNull(fault.msgSeq));
    set("object", fault.object ? zulobj::toJSON(zulobj::kTypeEntry, *fault.object) : json_null());
    set("connection", json_integer(static_cast<json_int_t>(fault.connection)));
    set("was", zulcommand::textOf(fault.was));
    set("became", zulcommand::textOf(fault.became));
    return line;
}

std::string foreignSentence(uint64_t connection, eDirection direction)
{
    return "connection " + std::to_string(connection) + ": what the " +
           (direction == eDirection::TO_SERVER ? "device" : "server") +
           " sends is not the protocol and passes untouched.";
}

} // namespace proxy

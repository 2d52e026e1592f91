#include "server/io/jsonline.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "wmsg/utf8.h"
#include "zulobj/jsonvalue.h"

namespace server {

namespace {

/// A command may hold any bytes; the text ends at a NUL.
json_t* textOf(const std::string& text) { return json_string(utf8::repaired(text.c_str()).c_str()); }

} // namespace

JsonPtr listeningLine(const std::string& address, uint16_t port)
{
    return JsonPtr(
        json_pack("{s:s, s:o, s:i}", "event", "listening", "address", textOf(address), "port", port));
}

JsonPtr connectedLine(const std::string& peer)
{
    return JsonPtr(json_pack("{s:s, s:o}", "event", "connected", "peer", textOf(peer)));
}

JsonPtr deviceLine(const std::string& peer, const cObjectDevice& device)
{
    JsonPtr line(json_pack("{s:s, s:o}", "event", "device", "peer", textOf(peer)));
    const JsonPtr record(device.getJSONObj());
    json_object_del(record.get(), "type");
    json_object_update(line.get(), record.get());
    return line;
}

JsonPtr messageLine(uint32_t deviceSerial, const cObjectList& message)
{
    JsonPtr line(json_pack("{s:s, s:I}", "event", "message", "deviceSerial", json_int_t{deviceSerial}));
    const JsonPtr list(message.getJSONObj());
    json_object_update(line.get(), list.get());
    return line;
}

JsonPtr disconnectedLine(const std::string& peer, const cObjectDevice* device, const std::string& reason)
{
    return JsonPtr(json_pack(
        "{s:s, s:o, s:o, s:o}", "event", "disconnected", "peer", textOf(peer), "deviceSerial",
        device != nullptr ? json_integer(device->getDeviceSerial()) : json_null(), "reason", textOf(reason)));
}

JsonPtr replyLine(const std::string& command, double seconds, const Reply& reply)
{
    return JsonPtr(json_pack(
        "{s:s, s:o, s:s, s:o, s:O, s:f, s:o*, s:O*}", "event", "reply", "command", textOf(command), "status",
        statusWord(reply.status), "msgType", reply.msgType ? json_integer(*reply.msgType) : json_null(),
        "objects", reply.objects.get(), "seconds", std::round(seconds * 1e6) / 1e6, "error",
        reply.error.empty() ? nullptr : textOf(reply.error), "came", reply.received.get()));
}

JsonPtr objectsOf(const cObjectList& list)
{
    const JsonPtr json(list.getJSONObj());
    return JsonPtr(json_incref(json_object_get(json.get(), "objects")));
}

const char* statusWord(Reply::Status status)
{
    constexpr const char* kWords[] = {"ok", "error", "timeout", "failed"};
    return kWords[static_cast<size_t>(status)];
}

std::string dumped(const json_t* json)
{
    const std::unique_ptr<char, decltype(&std::free)> text(
        json_dumps(json, zulobj::kDumpFlags | JSON_ENCODE_ANY), &std::free);
    return text ? text.get() : std::string();
}

/// The library writes all reals of a text with as many digits as a float has, which are too few for the time.
std::string lineText(const JsonPtr& line, std::chrono::system_clock::time_point time)
{
    const std::chrono::duration<double> seconds = time.time_since_epoch();
    std::array<char, 48> member;
    std::snprintf(member.data(), member.size(), ",\"time\":%.6f", seconds.count());
    std::string text = dumped(line.get());
    return text.insert(std::min(text.find(','), text.size()), member.data());
}

} // namespace server

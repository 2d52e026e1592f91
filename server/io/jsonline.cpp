#include "server/io/jsonline.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "zulobj/jsonvalue.h"

namespace server {

namespace {

JsonPtr lineOf(const char* event)
{
    JsonPtr line(json_object());
    json_object_set_new(line.get(), "event", json_string(event));
    return line;
}

/// Commands are typed by anybody, so the text need not be UTF-8.
json_t* textOf(const std::string& text)
{
    cText mended;
    mended.set(text.data(), text.size());
    return zulobj::textToJSON(mended);
}

} // namespace

JsonPtr listeningLine(const std::string& address, uint16_t port)
{
    JsonPtr line = lineOf("listening");
    json_object_set_new(line.get(), "address", textOf(address));
    json_object_set_new(line.get(), "port", json_integer(port));
    return line;
}

JsonPtr connectedLine(const std::string& peer)
{
    JsonPtr line = lineOf("connected");
    json_object_set_new(line.get(), "peer", textOf(peer));
    return line;
}

JsonPtr deviceLine(const std::string& peer, const cObjectDevice& device)
{
    JsonPtr line = lineOf("device");
    json_object_set_new(line.get(), "peer", textOf(peer));
    const JsonPtr record(device.getJSONObj());
    json_object_del(record.get(), "type");
    json_object_update(line.get(), record.get());
    return line;
}

JsonPtr messageLine(uint32_t deviceSerial, const cObjectList& message)
{
    JsonPtr line = lineOf("message");
    json_object_set_new(line.get(), "deviceSerial", json_integer(deviceSerial));
    const JsonPtr list(message.getJSONObj());
    json_object_update(line.get(), list.get());
    return line;
}

JsonPtr disconnectedLine(const std::string& peer, std::optional<uint32_t> deviceSerial,
                         const std::string& reason)
{
    JsonPtr line = lineOf("disconnected");
    json_object_set_new(line.get(), "peer", textOf(peer));
    json_object_set_new(line.get(), "deviceSerial", deviceSerial ? json_integer(*deviceSerial) : json_null());
    json_object_set_new(line.get(), "reason", textOf(reason));
    return line;
}

JsonPtr replyLine(const std::string& command, double seconds, Reply reply)
{
    JsonPtr line = lineOf("reply");
    json_object_set_new(line.get(), "command", textOf(command));
    json_object_set_new(line.get(), "status", json_string(statusWord(reply.status)));
    json_object_set_new(line.get(), "msgType", reply.msgType ? json_integer(*reply.msgType) : json_null());
    json_object_set_new(line.get(), "objects", reply.objects ? reply.objects.release() : json_array());
    json_object_set_new(line.get(), "seconds", json_real(std::round(seconds * 1e6) / 1e6));
    if (!reply.error.empty()) {
        json_object_set_new(line.get(), "error", textOf(reply.error));
    }
    if (reply.came) {
        json_object_set_new(line.get(), "came", reply.came.release());
    }
    return line;
}

JsonPtr objectsOf(const cObjectList& list)
{
    const JsonPtr json(list.getJSONObj());
    return JsonPtr(json_incref(json_object_get(json.get(), "objects")));
}

const char* statusWord(Reply::Status status)
{
    switch (status) {
    case Reply::Status::OK:
        return "ok";
    case Reply::Status::TIMEOUT:
        return "timeout";
    case Reply::Status::FAILED:
        return "failed";
    case Reply::Status::ERROR:
        break;
    }
    return "error";
}

std::string inUTF8(const std::string& text)
{
    const JsonPtr json(textOf(text));
    return json_string_value(json.get());
}

std::string dumped(const JsonPtr& line)
{
    const std::unique_ptr<char, decltype(&std::free)> text(json_dumps(line.get(), zulobj::kDumpFlags),
                                                           &std::free);
    return text ? std::string(text.get()) : std::string();
}

/// The library writes all reals of a text with as many digits as a float has, which are too few for the time.
std::string dumped(const JsonPtr& line, std::chrono::system_clock::time_point time)
{
    const std::chrono::duration<double> seconds = time.time_since_epoch();
    std::array<char, 48> member;
    std::snprintf(member.data(), member.size(), ",\"time\":%.6f", seconds.count());
    std::string text = dumped(line);
    return text.insert(std::min(text.find(','), text.size()), member.data());
}

} // namespace server

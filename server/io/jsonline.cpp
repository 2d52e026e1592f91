#include "server/io/jsonline.h"

namespace server {

using namespace zulcommand;

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

JsonPtr answerLine(const std::string& peer, uint32_t deviceSerial, const cObjectList& answer)
{
    JsonPtr line(json_pack("{s:s, s:o, s:I}", "event", "answer", "peer", textOf(peer), "deviceSerial",
                           json_int_t{deviceSerial}));
    const JsonPtr list(answer.getJSONObj());
    json_object_update(line.get(), list.get());
    return line;
}

JsonPtr disconnectedLine(const std::string& peer, const cObjectDevice* device, const std::string& reason)
{
    return JsonPtr(json_pack(
        "{s:s, s:o, s:o, s:o}", "event", "disconnected", "peer", textOf(peer), "deviceSerial",
        device != nullptr ? json_integer(device->getDeviceSerial()) : json_null(), "reason", textOf(reason)));
}

} // namespace server

#include "zulcommand/controlactions.h"

namespace controlactions {

namespace {

using Kind = sControlCommand::Kind;

const char* nameOf(eObjectTypes type)
{
    switch (type) {
    case OBJ_PORT_DIN:
        return "digital input";
    case OBJ_PORT_DOUT:
        return "digital output";
    case OBJ_PORT_AIN:
        return "analog input";
    case OBJ_PORT_AOUT:
        return "analog output";
    default:
        return "scanner";
    }
}

/// The sentence if the device has no part of @p type with this number, from 1.
std::string missing(const cSteeredDevice& device, eObjectTypes type, uint32_t number)
{
    const size_t count = device.records(type).size();
    return number <= count ? ""
                           : std::string("There is no ") + nameOf(type) + ' ' + std::to_string(number) +
                                 ": the device has " + std::to_string(count) + '.';
}

std::string wire(const sControlCommand& command, cSteeredDevice& device)
{
    const eObjectTypes outputs = command.type == OBJ_PORT_DIN ? OBJ_PORT_DOUT : OBJ_PORT_AOUT;
    std::string error = missing(device, command.type, command.number);
    error = error.empty() ? missing(device, outputs, command.value) : error;
    if (error.empty() && !device.setWired(command.type, static_cast<int>(command.number),
                                          static_cast<int>(command.value), command.kind == Kind::WIRE)) {
        return std::string("Another input drives ") + nameOf(outputs) + ' ' + std::to_string(command.value) +
               '.';
    }
    return error;
}

} // namespace

std::string get(const sControlCommand& command, const cSteeredDevice& device, json_t* objects)
{
    if (std::string error = missing(device, command.type, command.number); !error.empty()) {
        return error;
    }
    const std::vector<const cObject*> records = device.records(command.type);
    for (size_t i = 0; i < records.size(); ++i) {
        if (command.number == 0 || i + 1 == command.number) {
            json_array_append_new(objects, device.objectOf(*records[i]).release());
        }
    }
    return {};
}

std::string act(const sControlCommand& command, cSteeredDevice& device)
{
    const int number = static_cast<int>(command.number);
    const auto unlessMissing = [&](eObjectTypes type, auto act) {
        std::string error = missing(device, type, command.number);
        if (error.empty()) {
            act();
        }
        return error;
    };
    switch (command.kind) {
    case Kind::SET_DIGITAL:
        return unlessMissing(OBJ_PORT_DIN, [&] { device.setDigitalInput(number, command.value == 1); });
    case Kind::SET_ANALOG:
        return unlessMissing(OBJ_PORT_AIN,
                             [&] { device.setAnalogInput(number, static_cast<int>(command.value)); });
    case Kind::SCAN:
        return unlessMissing(OBJ_ACCESS, [&] { device.reportScan(number, command.texts[0]); });
    case Kind::ADHOC:
        return device.reportAdhoc(command.number, command.texts[0], command.texts[1])
                   ? ""
                   : "The device takes no ad-hoc events: load one first.";
    default:
        return wire(command, device);
    }
}

} // namespace controlactions

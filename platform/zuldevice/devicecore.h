#pragma once

#include <algorithm>
#include <ostream>
#include <type_traits>

#include "zuldevice/portrules.h"
#include "zulobj/adhoc.h"
#include "zulobj/capability.h"
#include "zulobj/objectlist.h"

/// What a device does with the messages of its server, and the events that it reports.
///
/// @p Device is a cObjectDevice that befriends the core. Its lists hold pointers, plain or unique; messages
/// skip nulls, and a wrong index in an event ends the program. It sends answers and events by send(list) and
/// passes on an input's state or value by drive(output, value), once for each wired output.
///
/// The trace has quirks that stay: some lines leave the stream in hexadecimal mode.
template <class Device>
class DeviceCore
{
public:
    /// Both outlive the core.
    DeviceCore(Device& device, std::ostream& trace) : mDevice(device), mTrace(trace) {}

    /// Fills the capability list, once the scanners are there.
    void addCapabilities()
    {
        addCapability("analogout", "yes");
        addCapability("version", "4.0.2");
        for (const auto& scanner : mDevice.mAccessList) {
            addCapability("access_reader", scanner->getLabel());
        }
    }

    void handleRequest(cObjectList* msg) { handle(msg, &Handler::answer); }
    void handleSet(cObjectList* msg) { handle(msg, &Handler::apply); }

    /// The trace of a message of an unknown type. The stream stays hexadecimal.
    void traceUnknown(const cObjectList& msg)
    {
        mTrace << "Unknown type " << std::hex << static_cast<unsigned>(msg.getMsgType()) << ' ';
    }

    // Events. Positions count from 0.

    void inputEvent(int64_t position)
    {
        const auto& input = *checkedAt(mDevice.mDigitalInputList, position, "mDigitalInputList");
        driveOutputs(input, mDevice.mDigitalOutputList, "mDigitalOutputList", input.getInputState());
        report(input.clone());
    }

    /// Takes @p sample over.
    void analogEvent(cObjectAnalogSample* sample)
    {
        const uint32_t port = sample->getPortNum();
        traceLine("Got Sample event from port ", port);
        // The port id of the record is the input's number, so an output applies the value only if its own
        // id is equal.
        cObjectAOutput value;
        value.setPortId(port);
        value.setSampledValue(sample->getSample());
        const auto& input = *checkedAt(mDevice.mAnalogInputList, int64_t{port} - 1, "mAnalogInputList");
        driveOutputs(input, mDevice.mAnalogOutputList, "mAnalogOutputList", &value);
        sample->setDeviceSerial(mDevice.getDeviceSerial());
        report(sample);
    }

    void accessEvent(int64_t position)
    {
        const cObjectAccess& access = *checkedAt(mDevice.mAccessList, position, "mAccessList");
        // The stream stays hexadecimal after the serial, and a scan code never set ends its output for good.
        traceLine("Got an access event ");
        traceLine("Serial 0x", std::hex, access.getDeviceSerial());
        traceLine("Port ", access.getPortNum());
        traceLine("Scancode ", access.getScanCode());
        report(access.clone());
    }

    /// @p record stays the caller's; a null makes an empty event.
    void adHocEvent(cObjectAdhocEvent* record)
    {
        traceLine("Transmit an ad-hoc event ");
        report(record, &cObjectList::addBorrowed);
    }

private:
    using Act = void (DeviceCore::*)(const cObject* object, cObjectList* reply);

    /// What to write for a record, and to do with it in a request and in a set; null if it is unknown there.
    struct Handler
    {
        eObjectTypes type;
        const char* line;
        Act answer;
        Act apply;
    };

    void addCapability(const char* label, const char* value)
    {
        auto* capability = new cObjectCapability;
        capability->setDeviceSerial(mDevice.getDeviceSerial());
        capability->setCapId(static_cast<uint32_t>(mDevice.mCapabilityList.size()) + 1);
        capability->setLabel(label);
        capability->setValue(value);
        mDevice.mCapabilityList.emplace_back(capability);
    }

    template <class... Pieces>
    void traceLine(const Pieces&... pieces)
    {
        (mTrace << ... << pieces) << std::endl;
    }

    void handle(cObjectList* msg, Act Handler::*act)
    {
        using Core = DeviceCore;
        static constexpr Handler kHandlers[] = {
            {OBJ_DEVICE, "DEVICE Object", &Core::answerTo<cObjectDevice>, &Core::applyTo<cObjectDevice>},
            {OBJ_PORT_DIN, "DIN Object", &Core::answerTo<cObjectDInput>, &Core::applyTo<cObjectDInput>},
            {OBJ_PORT_DOUT, "DOUT Object", &Core::answerTo<cObjectDOutput>, &Core::applyTo<cObjectDOutput>},
            {OBJ_PORT_AIN, "AIN Object", &Core::answerTo<cObjectAInput>, &Core::applyTo<cObjectAInput>},
            {OBJ_PORT_AOUT, "AOUT Object", &Core::answerTo<cObjectAOutput>, &Core::applyTo<cObjectAOutput>},
            {OBJ_ANALOG_SAMPLE, "ASAMPLE Object", &Core::answerTo<cObjectAnalogSample>, nullptr},
            {OBJ_CAPABILITY, "CAPABILITY Object", &Core::answerTo<cObjectCapability>, nullptr},
            {OBJ_ACCESS, "Access Object", &Core::ignore, &Core::ignore},
        };
        cObjectList reply;
        reply.setMsgType(msg->getMsgType());
        for (const cObject* object = msg->first(); object != nullptr; object = msg->next()) {
            const auto* handler = std::ranges::find(kHandlers, object->getType(), &Handler::type);
            if (handler == std::end(kHandlers) || handler->*act == nullptr) {
                traceLine("Unknown object ", static_cast<uint32_t>(object->getType()));
            } else {
                traceLine(handler->line);
                (this->*(handler->*act))(object, &reply);
            }
        }
        mTrace.flush();
        mDevice.send(&reply);
    }

    void ignore(const cObject* /*object*/, cObjectList* /*reply*/) {}

    /// Null if @p object is not a @p Record or is for another device.
    template <class Record>
    const Record* recordFor(const cObject* object) const
    {
        const auto* record = dynamic_cast<const Record*>(object);
        const uint32_t own = mDevice.getDeviceSerial();
        return record != nullptr && zuldevice::matches(record->getDeviceSerial(), own) ? record : nullptr;
    }

    template <class Record>
    void answerTo(const cObject* object, cObjectList* reply)
    {
        if (const auto* request = recordFor<Record>(object)) {
            answer(*request, reply);
        }
    }

    template <class Record>
    void applyTo(const cObject* object, cObjectList* /*reply*/)
    {
        if (const auto* request = recordFor<Record>(object)) {
            apply(*request);
        }
    }

    auto& portsFor(const cObjectDInput&) { return mDevice.mDigitalInputList; }
    auto& portsFor(const cObjectDOutput&) { return mDevice.mDigitalOutputList; }
    auto& portsFor(const cObjectAInput&) { return mDevice.mAnalogInputList; }
    auto& portsFor(const cObjectAOutput&) { return mDevice.mAnalogOutputList; }

    void answer(const cObjectDevice&, cObjectList* reply) { reply->addBorrowed(&mDevice); }

    /// Appends the ports that @p request asks for: in full if it asks for their own type, else as plain port
    /// records.
    template <std::derived_from<cObjectPort> Request>
    void answer(const Request& request, cObjectList* reply)
    {
        for (const auto& port : portsFor(request)) {
            if (port == nullptr || !zuldevice::matches(request.getPortId(), port->getPortId())) {
                continue;
            }
            if (request.getPortType() == port->getPortType()) {
                if constexpr (std::is_same_v<Request, cObjectAInput>) {
                    mTrace << "Packing Ananlog Port portId " << port->getPortId() << '\n';
                } else if constexpr (std::is_same_v<Request, cObjectAOutput>) {
                    mTrace << "Packing Analog Output portId " << port->getPortId() << '\n';
                }
                reply->addBorrowed(&*port);
            } else {
                reply->add(port->cObjectPort::clone());
            }
        }
    }

    void answer(const cObjectAnalogSample& request, cObjectList* reply)
    {
        for (const auto& input : mDevice.mAnalogInputList) {
            // The wildcard does not stand for every port here.
            if (input == nullptr || input->getPortId() != request.getPortNum()) {
                continue;
            }
            if (const cObjectAnalogSample* sample = input->findSample(request.getSeqNum())) {
                reply->add(sample->clone());
            }
        }
    }

    void answer(const cObjectCapability&, cObjectList* reply)
    {
        for (const auto& capability : mDevice.mCapabilityList) {
            if (capability != nullptr) {
                reply->addBorrowed(&*capability);
            }
        }
    }

    void apply(const cObjectDevice&) { traceLine("Can't think of anything to be set on a Device"); }

    template <std::derived_from<cObjectPort> Request>
    void apply(const Request& request)
    {
        // An analog output tests the port id itself, after marking itself connected.
        constexpr bool kEvery = std::is_same_v<Request, cObjectAOutput>;
        for (const auto& port : portsFor(request)) {
            if (port == nullptr || !(kEvery || zuldevice::matches(request.getPortId(), port->getPortId()))) {
                continue;
            }
            zuldevice::applySet(request, &*port);
            if constexpr (std::is_same_v<Request, cObjectDInput>) {
                if (request.getDefaultState() != cObject::OBJ_IO_STATE_UNKNOWN) {
                    mTrace << "Setting default" << true;
                }
            }
        }
    }

    /// Passes @p value on to the outputs that are wired to @p input; @p name is that of the list @p outputs.
    template <class Input, class Outputs, class Value>
    void driveOutputs(const Input& input, const Outputs& outputs, const char* name, Value value)
    {
        for (int k = 0; k < input.getOutputCount(); ++k) {
            mDevice.drive(&*checkedAt(outputs, int64_t{input.getOutputPort(k)} - 1, name), value);
        }
    }

    /// Sends an event of @p object, which belongs to it unless it is borrowed.
    void report(cObject* object, void (cObjectList::*add)(cObject*) = &cObjectList::add)
    {
        cObjectList event;
        event.setMsgType(cObjectList::kEvent);
        (event.*add)(object);
        mDevice.send(&event);
    }

    Device& mDevice;
    std::ostream& mTrace;
};

#pragma once

#include <cstdint>
#include <ostream>
#include <vector>

#include "zuldevice/checkedindex.h"
#include "zuldevice/portrules.h"
#include "zulobj/access.h"
#include "zulobj/adhoc.h"
#include "zulobj/capability.h"
#include "zulobj/objectlist.h"

/// Learns which ports change.
class PortListener
{
public:
    virtual ~PortListener() = default;

    /// An operator, a wire or a set may have changed the record of @p port.
    virtual void changed(const cObjectPort& port) = 0;
};

/// The record of a device and the lists of its parts, which stay their owner's. A part is a record of the
/// library's class, or a row of a window that is one.
template <class DInput, class DOutput, class AInput, class AOutput, class Access>
struct DeviceParts
{
    cObjectDevice& device;
    const std::vector<DInput*>& digitalInputs;
    const std::vector<DOutput*>& digitalOutputs;
    const std::vector<AInput*>& analogInputs;
    const std::vector<AOutput*>& analogOutputs;
    const std::vector<Access*>& scanners;
    std::vector<cObjectCapability*>& capabilities; ///< the core deletes them
};

/// What a device does with the messages of its server, and the events that it reports.
///
/// It fills the lists that its owner sends. It writes a trace, whose quirks stay: some lines leave the stream
/// in hexadecimal mode. Messages skip nulls in the lists of parts; a wrong index in an event ends the
/// program.
template <class Parts>
class DeviceCore
{
public:
    /// @p trace and @p listener may be null. Like the parts, they outlive the core.
    DeviceCore(const Parts& parts, std::ostream* trace, PortListener* listener = nullptr)
        : mParts(parts), mTrace(trace), mListener(listener)
    {}

    ~DeviceCore()
    {
        for (const cObjectCapability* capability : mParts.capabilities) {
            delete capability;
        }
    }

    DeviceCore(const DeviceCore&) = delete;
    DeviceCore& operator=(const DeviceCore&) = delete;

    /// Fills the capability list, once the scanners are there.
    void addCapabilities()
    {
        addCapability("analogout", "yes");
        addCapability("version", "4.0.2");
        for (const cObjectAccess* scanner : mParts.scanners) {
            addCapability("access_reader", scanner->getLabel());
        }
    }

    /// Returns true if @p reply, an empty list, is now the answer to @p msg, which may be of any type. The
    /// answer borrows the device's records: send it before anything changes them.
    bool handle(cObjectList* msg, cObjectList* reply)
    {
        switch (msg->getMsgType()) {
        case cObjectList::kRequest:
            handleRequest(msg, reply);
            return true;
        case cObjectList::kSet:
            handleSet(msg, reply);
            return true;
        case cObjectList::kEvent:
            return false;
        default:
            traceUnknown(*msg);
            return false;
        }
    }

    /// The trace of a message of an unknown type. The stream stays hexadecimal.
    void traceUnknown(const cObjectList& msg)
    {
        trace("Unknown type ", std::hex, static_cast<unsigned>(msg.getMsgType()), ' ');
    }

    void handleRequest(cObjectList* msg, cObjectList* reply)
    {
        reply->setMsgType(msg->getMsgType());
        for (const cObject* object = msg->first(); object != nullptr; object = msg->next()) {
            answer(object, reply);
        }
        flush();
    }

    void handleSet(cObjectList* msg, cObjectList* reply)
    {
        reply->setMsgType(msg->getMsgType());
        for (const cObject* object = msg->first(); object != nullptr; object = msg->next()) {
            apply(object);
        }
        flush();
    }

    // Events: each fills @p event, an empty list. @p drive is called with each wired output and the input's
    // state or value. Positions count from 0.

    template <class Drive>
    void inputEvent(int64_t position, Drive drive, cObjectList* event)
    {
        const auto* input = checkedAt(mParts.digitalInputs, position, "mDigitalInputList");
        for (int k = 0; k < input->getOutputCount(); ++k) {
            const int64_t output = input->getOutputPort(k);
            drive(checkedAt(mParts.digitalOutputs, output - 1, "mDigitalOutputList"), input->getInputState());
        }
        event->setMsgType(cObjectList::kEvent);
        event->add(input->clone());
    }

    /// @p sample now belongs to @p event.
    template <class Drive>
    void analogEvent(cObjectAnalogSample* sample, Drive drive, cObjectList* event)
    {
        event->setMsgType(cObjectList::kEvent);
        event->add(sample);
        traceLine("Got Sample event from port ", sample->getPortNum());

        // The port id of the record is the input's number, so an output applies the value only if its own
        // id is equal.
        cObjectAOutput value;
        value.setPortId(sample->getPortNum());
        value.setSampledValue(sample->getSample());
        const auto* input =
            checkedAt(mParts.analogInputs, int64_t{sample->getPortNum()} - 1, "mAnalogInputList");
        for (int k = 0; k < input->getOutputCount(); ++k) {
            const int64_t output = input->getOutputPort(k);
            drive(checkedAt(mParts.analogOutputs, output - 1, "mAnalogOutputList"), &value);
        }
        sample->setDeviceSerial(mParts.device.getDeviceSerial());
    }

    void accessEvent(int64_t position, cObjectList* event)
    {
        const cObjectAccess* access = checkedAt(mParts.scanners, position, "mAccessList");
        // The stream stays hexadecimal after the serial, and a scan code never set ends its output for good.
        traceLine("Got an access event ");
        traceLine("Serial 0x", std::hex, access->getDeviceSerial());
        traceLine("Port ", access->getPortNum());
        traceLine("Scancode ", access->getScanCode());
        event->setMsgType(cObjectList::kEvent);
        event->add(access->clone());
    }

    /// @p record stays the caller's; a null makes an empty event.
    void adHocEvent(cObjectAdhocEvent* record, cObjectList* event)
    {
        traceLine("Transmit an ad-hoc event ");
        event->setMsgType(cObjectList::kEvent);
        event->addBorrowed(record);
    }

private:
    void addCapability(const char* label, const char* value)
    {
        auto* capability = new cObjectCapability;
        capability->setDeviceSerial(mParts.device.getDeviceSerial());
        capability->setCapId(static_cast<uint32_t>(mParts.capabilities.size()) + 1);
        capability->setLabel(label);
        capability->setValue(value);
        mParts.capabilities.push_back(capability);
    }

    template <class... Pieces>
    void trace(const Pieces&... pieces)
    {
        if (mTrace != nullptr) {
            (*mTrace << ... << pieces);
        }
    }

    void flush()
    {
        if (mTrace != nullptr) {
            mTrace->flush();
        }
    }

    template <class... Pieces>
    void traceLine(const Pieces&... pieces)
    {
        trace(pieces..., '\n');
        flush();
    }

    /// Calls @p action with @p object as a @p Record and each port whose id matches, in list order, if the
    /// object is one and for this device.
    template <class Record, class Port, class Action>
    void forMatching(const cObject* object, const std::vector<Port*>& ports, Action action)
    {
        const auto* record = recordFor<Record>(object);
        if (record == nullptr) {
            return;
        }
        for (Port* port : ports) {
            if (port != nullptr && zuldevice::matches(record->getPortId(), port->getPortId())) {
                action(*record, port);
            }
        }
    }

    /// Null if @p object is not a @p Record or is for another device.
    template <class Record>
    const Record* recordFor(const cObject* object) const
    {
        const auto* record = dynamic_cast<const Record*>(object);
        const uint32_t own = mParts.device.getDeviceSerial();
        return record != nullptr && zuldevice::matches(record->getDeviceSerial(), own) ? record : nullptr;
    }

    void answer(const cObject* object, cObjectList* reply)
    {
        switch (object->getType()) {
        case OBJ_DEVICE:
            traceLine("DEVICE Object");
            if (recordFor<cObjectDevice>(object) != nullptr) {
                reply->addBorrowed(&mParts.device);
            }
            break;
        case OBJ_PORT_DIN:
            traceLine("DIN Object");
            answerPorts<cObjectDInput>(object, mParts.digitalInputs, nullptr, reply);
            break;
        case OBJ_PORT_DOUT:
            traceLine("DOUT Object");
            answerPorts<cObjectDOutput>(object, mParts.digitalOutputs, nullptr, reply);
            break;
        case OBJ_PORT_AIN:
            traceLine("AIN Object");
            answerPorts<cObjectAInput>(object, mParts.analogInputs, "Packing Ananlog Port portId ", reply);
            break;
        case OBJ_PORT_AOUT:
            traceLine("AOUT Object");
            answerPorts<cObjectAOutput>(object, mParts.analogOutputs, "Packing Analog Output portId ", reply);
            break;
        case OBJ_ANALOG_SAMPLE:
            traceLine("ASAMPLE Object");
            answerSample(object, reply);
            break;
        case OBJ_CAPABILITY:
            traceLine("CAPABILITY Object");
            answerCapabilities(object, reply);
            break;
        case OBJ_ACCESS:
            traceLine("Access Object");
            break;
        default:
            traceLine("Unknown object ", static_cast<uint32_t>(object->getType()));
        }
    }

    /// Appends the ports that @p object asks for: in full if it asks for their own type, else as plain port
    /// records. Before each full one, @p line is written with the port's id, unless null.
    template <class Record, class Port>
    void answerPorts(const cObject* object, const std::vector<Port*>& ports, const char* line,
                     cObjectList* reply)
    {
        forMatching<Record>(object, ports, [&](const Record& request, Port* port) {
            if (request.getPortType() != port->getPortType()) {
                reply->add(port->cObjectPort::clone());
                return;
            }
            if (line != nullptr) {
                trace(line, port->getPortId(), '\n');
            }
            reply->addBorrowed(port);
        });
    }

    void answerSample(const cObject* object, cObjectList* reply)
    {
        const auto* request = recordFor<cObjectAnalogSample>(object);
        if (request == nullptr) {
            return;
        }
        for (const auto* input : mParts.analogInputs) {
            // The wildcard does not stand for every port here.
            if (input == nullptr || input->getPortId() != request->getPortNum()) {
                continue;
            }
            if (const cObjectAnalogSample* sample = input->findSample(request->getSeqNum())) {
                reply->add(sample->clone());
            }
        }
    }

    void answerCapabilities(const cObject* object, cObjectList* reply)
    {
        if (recordFor<cObjectCapability>(object) == nullptr) {
            return;
        }
        for (cObjectCapability* capability : mParts.capabilities) {
            if (capability != nullptr) {
                reply->addBorrowed(capability);
            }
        }
    }

    void apply(const cObject* object)
    {
        switch (object->getType()) {
        case OBJ_DEVICE:
            traceLine("DEVICE Object");
            if (recordFor<cObjectDevice>(object) != nullptr) {
                traceLine("Can't think of anything to be set on a Device");
            }
            break;
        case OBJ_PORT_DIN:
            traceLine("DIN Object");
            forMatching<cObjectDInput>(object, mParts.digitalInputs, [&](const auto& request, auto* input) {
                if (applyTo(request, input)) {
                    trace("Setting default", true);
                }
            });
            break;
        case OBJ_PORT_DOUT:
            traceLine("DOUT Object");
            forMatching<cObjectDOutput>(object, mParts.digitalOutputs,
                                        [&](const auto& request, auto* output) { applyTo(request, output); });
            break;
        case OBJ_PORT_AIN:
            traceLine("AIN Object");
            forMatching<cObjectAInput>(object, mParts.analogInputs,
                                       [&](const auto& request, auto* input) { applyTo(request, input); });
            break;
        case OBJ_PORT_AOUT:
            traceLine("AOUT Object");
            applyToAnalogOutputs(object);
            break;
        case OBJ_ACCESS:
            traceLine("Access Object");
            break;
        default:
            traceLine("Unknown object ", static_cast<uint32_t>(object->getType()));
        }
    }

    void applyToAnalogOutputs(const cObject* object)
    {
        const auto* request = recordFor<cObjectAOutput>(object);
        // Each output tests the port id itself, after marking itself connected.
        for (auto* output : mParts.analogOutputs) {
            if (request != nullptr && output != nullptr) {
                applyTo(*request, output);
            }
        }
    }

    /// Returns false if @p request changes nothing.
    template <class Record, class Port>
    bool applyTo(const Record& request, Port* port)
    {
        const bool applied = zuldevice::applySet(request, port);
        if (applied && mListener != nullptr) {
            mListener->changed(*port);
        }
        return applied;
    }

    Parts mParts;
    std::ostream* mTrace;
    PortListener* mListener;
};

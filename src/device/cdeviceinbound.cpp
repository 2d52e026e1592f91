// What the device does with the messages of the server.

#include <QDebug>
#include <algorithm>
#include <iostream>

#include "cainput.h"
#include "caoutput.h"
#include "cdevice.h"
#include "cdinput.h"
#include "cdoutput.h"

namespace {

bool matches(uint32_t received, uint32_t own) { return received == own || received == cObject::kWildcard; }

/// A received object as a record of the class that its type stands for, if that is what it is and the
/// device that it is meant for is the one with @p serial; else null.
template <class Record>
Record* recordFor(cObject* object, uint32_t serial)
{
    auto* record = dynamic_cast<Record*>(object);
    return record != nullptr && matches(record->getDeviceSerial(), serial) ? record : nullptr;
}

/// Calls @p action with each port of the list whose id matches that of @p record, in list order.
template <class Port, class Action>
void forMatching(const std::vector<Port*>& ports, const cObjectPort& record, Action action)
{
    const uint32_t portId = record.getPortId();
    for (Port* port : ports) {
        if (port != nullptr && matches(portId, port->getPortId())) {
            action(port);
        }
    }
}

/// Appends to @p reply the ports that @p object asks for: in full where it asks for their own type, else as
/// plain port records. @p trace is written before each full one, with the port's id, unless null.
template <class Record, class Port>
void answerPorts(cObject* object, uint32_t serial, const std::vector<Port*>& ports, cObjectList* reply,
                 const char* trace)
{
    auto* request = recordFor<Record>(object, serial);
    if (request == nullptr) {
        return;
    }
    const uint32_t portType = request->getPortType();
    forMatching(ports, *request, [=](Port* port) {
        if (portType != port->getPortType()) {
            reply->addCloneAs<cObjectPort>(*port);
            return;
        }
        if (trace != nullptr) {
            std::cout << trace << port->getPortId() << '\n';
        }
        port->populateMsg(reply, request);
    });
}

void traceObject(const char* line) { std::cout << line << std::flush; }

void traceUnknown(const cObject& object)
{
    std::cout << "Unknown object " << static_cast<uint32_t>(object.getType()) << std::endl;
}

} // namespace

void cDevice::handleObjectAction(cObjectList* msg)
{
    mExecutor->run([&] { dispatch(msg); });
}

void cDevice::dispatch(cObjectList* msg)
{
    switch (msg->getMsgType()) {
    case cObjectList::kRequest:
        handleRequest(msg);
        break;
    case cObjectList::kSet:
        qDebug() << "SET ";
        handleSet(msg);
        break;
    case cObjectList::kEvent:
        qDebug() << "EVT ";
        break;
    default:
        // The stream stays hexadecimal from here on: that is how the trace has always been.
        std::cout << "Unknown type " << std::hex << static_cast<unsigned>(msg->getMsgType()) << ' ';
    }
}

bool cDevice::isMe(uint32_t deviceSerial) const { return matches(deviceSerial, getDeviceSerial()); }

void cDevice::handleRequest(cObjectList* msg)
{
    mReply.setMsgType(msg->getMsgType());
    for (cObject* object = msg->first(); object != nullptr; object = msg->next()) {
        answer(object, &mReply);
    }
    std::cout.flush();
    mObjectClient->send(&mReply);
    // What one object can ask for at most: so the device keeps no more than it has ports.
    mReply.reuse(std::max({mDigitalInputList.size(), mDigitalOutputList.size(), mAnalogInputList.size(),
                           mAnalogOutputList.size(), mCapabilityList.size()}));
}

void cDevice::answer(cObject* object, cObjectList* reply)
{
    const uint32_t serial = getDeviceSerial();
    switch (object->getType()) {
    case OBJ_DEVICE:
        traceObject("DEVICE Object\n");
        answerDevice(object, reply);
        break;
    case OBJ_PORT_DIN:
        traceObject("DIN Object\n");
        answerPorts<cObjectDInput>(object, serial, mDigitalInputList, reply, nullptr);
        break;
    case OBJ_PORT_DOUT:
        traceObject("DOUT Object\n");
        answerPorts<cObjectDOutput>(object, serial, mDigitalOutputList, reply, nullptr);
        break;
    case OBJ_PORT_AIN:
        traceObject("AIN Object\n");
        answerPorts<cObjectAInput>(object, serial, mAnalogInputList, reply, "Packing Ananlog Port portId ");
        break;
    case OBJ_PORT_AOUT:
        traceObject("AOUT Object\n");
        answerPorts<cObjectAOutput>(object, serial, mAnalogOutputList, reply,
                                    "Packing Analog Output portId ");
        break;
    case OBJ_ANALOG_SAMPLE:
        traceObject("ASAMPLE Object\n");
        answerSample(object, reply);
        break;
    case OBJ_CAPABILITY:
        traceObject("CAPABILITY Object\n");
        answerCapabilities(object, reply);
        break;
    case OBJ_ACCESS:
        traceObject("Access Object\n");
        break;
    default:
        traceUnknown(*object);
    }
}

void cDevice::answerDevice(cObject* object, cObjectList* reply)
{
    if (recordFor<cObjectDevice>(object, getDeviceSerial()) != nullptr) {
        reply->addClone(*this);
    }
}

void cDevice::answerSample(cObject* object, cObjectList* reply)
{
    const auto* request = recordFor<cObjectAnalogSample>(object, getDeviceSerial());
    if (request == nullptr) {
        return;
    }
    for (const cAInput* input : mAnalogInputList) {
        // One input is meant: the wildcard does not stand for every port here.
        if (input == nullptr || input->getPortId() != request->getPortNum()) {
            continue;
        }
        const cObjectAnalogSample* sample = input->findSample(request->getSeqNum());
        if (sample != nullptr) {
            reply->addClone(*sample);
        }
    }
}

void cDevice::answerCapabilities(cObject* object, cObjectList* reply)
{
    if (recordFor<cObjectCapability>(object, getDeviceSerial()) == nullptr) {
        return;
    }
    for (const cObjectCapability* capability : mCapabilityList) {
        if (capability != nullptr) {
            reply->addClone(*capability);
        }
    }
}

void cDevice::handleSet(cObjectList* msg)
{
    cObjectList reply;
    reply.setMsgType(msg->getMsgType());
    for (cObject* object = msg->first(); object != nullptr; object = msg->next()) {
        apply(object);
    }
    std::cout.flush();
    mObjectClient->send(&reply);
}

void cDevice::apply(cObject* object)
{
    switch (object->getType()) {
    case OBJ_DEVICE:
        traceObject("DEVICE Object\n");
        applyDevice(object);
        break;
    case OBJ_PORT_DIN:
        traceObject("DIN Object\n");
        applyDigitalInput(object);
        break;
    case OBJ_PORT_DOUT:
        traceObject("DOUT Object\n");
        applyDigitalOutput(object);
        break;
    case OBJ_PORT_AIN:
        traceObject("AIN Object\n");
        applyAnalogInput(object);
        break;
    case OBJ_PORT_AOUT:
        traceObject("AOUT Object\n");
        applyAnalogOutput(object);
        break;
    case OBJ_ACCESS:
        traceObject("Access Object\n");
        break;
    default:
        traceUnknown(*object);
    }
}

void cDevice::applyDevice(cObject* object)
{
    if (recordFor<cObjectDevice>(object, getDeviceSerial()) != nullptr) {
        std::cout << "Can't think of anything to be set on a Device" << std::endl;
    }
}

void cDevice::applyDigitalInput(cObject* object)
{
    auto* request = recordFor<cObjectDInput>(object, getDeviceSerial());
    if (request == nullptr || request->getDefaultState() == OBJ_IO_STATE_UNKNOWN) {
        return;
    }
    forMatching(mDigitalInputList, *request, [&](cDInput* input) {
        input->updateObject(request);
        std::cout << "Setting default" << true;
    });
}

void cDevice::applyDigitalOutput(cObject* object)
{
    auto* request = recordFor<cObjectDOutput>(object, getDeviceSerial());
    if (request != nullptr) {
        forMatching(mDigitalOutputList, *request, [&](cDOutput* output) { output->updateObject(request); });
    }
}

void cDevice::applyAnalogInput(cObject* object)
{
    auto* request = recordFor<cObjectAInput>(object, getDeviceSerial());
    if (request != nullptr) {
        forMatching(mAnalogInputList, *request, [&](cAInput* input) { input->updateObject(request); });
    }
}

void cDevice::applyAnalogOutput(cObject* object)
{
    auto* request = recordFor<cObjectAOutput>(object, getDeviceSerial());
    if (request == nullptr) {
        return;
    }
    // Each output tests the port id itself, after marking itself connected.
    for (cAOutput* output : mAnalogOutputList) {
        if (output != nullptr) {
            output->updateObject(request);
        }
    }
}

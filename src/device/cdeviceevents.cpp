// What the device tells the server of its own accord.

#include <QDebug>
#include <iostream>
#include <memory>

#include "caccess.h"
#include "cadhoc.h"
#include "cainput.h"
#include "caoutput.h"
#include "cdevice.h"
#include "cdinput.h"
#include "cdoutput.h"
#include "checkedindex.h"

void cDevice::inputEvent(int index)
{
    qDebug().nospace() << "Got an input event from port " << qint64{index} + 1 << Qt::endl;
    const cDInput* input = checkedAt(mDigitalInputList, index, "mDigitalInputList");
    driveOutputs(*input);

    cObjectList event;
    event.setMsgType(cObjectList::kEvent);
    event.add(input->clone());
    mObjectClient->send(&event);
}

void cDevice::driveOutputs(const cDInput& input)
{
    for (int k = 0; k < input.getOutputCount(); ++k) {
        const cDOutput* output =
            checkedAt(mDigitalOutputList, qint64{input.getOutputPort(k)} - 1, "mDigitalOutputList");
        const QMetaObject::Connection wire =
            connect(this, &cDevice::digitalOutputUpdated, output, &cDOutput::updateOutput);
        emit digitalOutputUpdated(input.getInputState());
        disconnect(wire);
    }
}

void cDevice::analogEvent(cObjectAnalogSample* sample)
{
    std::cout << "Got Sample event from port " << sample->getPortNum() << std::endl;
    cObjectList event;
    event.setMsgType(cObjectList::kEvent);
    event.add(sample);

    // The record bears the input's number as its port id, so an output takes the value over only where its
    // own id is the same.
    cObjectAOutput value;
    value.setPortId(sample->getPortNum());
    value.setSampledValue(sample->getSample());
    driveOutputs(*checkedAt(mAnalogInputList, qint64{sample->getPortNum()} - 1, "mAnalogInputList"), &value);

    sample->setDeviceSerial(getDeviceSerial());
    mObjectClient->send(&event);
}

void cDevice::driveOutputs(const cAInput& input, cObjectAOutput* value)
{
    for (int k = 0; k < input.getOutputCount(); ++k) {
        const cAOutput* output =
            checkedAt(mAnalogOutputList, qint64{input.getOutputPort(k)} - 1, "mAnalogOutputList");
        const QMetaObject::Connection wire =
            connect(this, &cDevice::analogOutputUpdated, output, &cAOutput::updateObject);
        emit analogOutputUpdated(value);
        disconnect(wire);
    }
}

void cDevice::accesEvnt(int index)
{
    const cAccess* access = checkedAt(mAccessList, index, "mAccessList");
    // The stream stays hexadecimal after the serial, and a scan code never set ends its output for good:
    // that is how the trace has always been.
    std::cout << "Got an access event " << std::endl;
    std::cout << "Serial 0x" << std::hex << access->getDeviceSerial() << std::endl;
    std::cout << "Port " << access->getPortNum() << std::endl;
    std::cout << "Scancode " << access->getScanCode() << std::endl;

    cObjectList event;
    event.setMsgType(cObjectList::kEvent);
    event.add(access->clone());
    mObjectClient->send(&event);
}

void cDevice::adHocEvnt(int)
{
    std::cout << "Transmit an ad-hoc event " << std::endl;
    cObjectList event;
    event.setMsgType(cObjectList::kEvent);
    event.addBorrowed(mAdHocEvent);
    mObjectClient->send(&event);
}

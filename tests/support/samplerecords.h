#pragma once

#include <memory>
#include <vector>

#include "zulobj/access.h"
#include "zulobj/adhoc.h"
#include "zulobj/ainput.h"
#include "zulobj/aoutput.h"
#include "zulobj/asample.h"
#include "zulobj/capability.h"
#include "zulobj/device.h"
#include "zulobj/dinput.h"
#include "zulobj/doutput.h"
#include "zulobj/port.h"

/// Fills what all ports have.
inline void fillPort(cObjectPort* port)
{
    port->setDeviceSerial(1001);
    port->setPortId(3);
    port->setPortLabel("Door");
    port->setPortStatus(cObject::OBJ_STATUS_ALARM_WARN);
}

/// One record of every class, each field with a value of its own.
inline std::vector<std::unique_ptr<cObject>> sampleRecords()
{
    auto device = std::make_unique<cObjectDevice>();
    device->setDeviceSerial(1001);
    device->setDeviceLabel("Lab");
    device->setDeviceType(cObjectDevice::TYPE_MODBUS);
    device->setVersion(2);
    device->setDiscreteInCount(3);
    device->setDiscreteOutCount(4);
    device->setAnalogInCount(5);
    device->setAnalogOutCount(6);

    auto port = std::make_unique<cObjectPort>();
    fillPort(port.get());
    port->setPortType(OBJ_PORT_AIN);

    auto input = std::make_unique<cObjectDInput>();
    fillPort(input.get());
    input->setInputState(cObject::OBJ_IO_STATE_SET);
    input->setDefaultState(cObject::OBJ_IO_STATE_CLEAR);

    auto output = std::make_unique<cObjectDOutput>();
    fillPort(output.get());
    output->setOutputState(cObject::OBJ_IO_STATE_CLEAR);
    output->setDefaultState(cObject::OBJ_IO_STATE_SET);

    auto analogIn = std::make_unique<cObjectAInput>();
    fillPort(analogIn.get());
    analogIn->setGain(1.5F);
    analogIn->setOffset(-0.25F);
    analogIn->setSampleRate(15);
    analogIn->setDisplayUnit("V");
    analogIn->setSampledValue(57.9F);
    analogIn->setLastSampleSeq(255);

    auto analogOut = std::make_unique<cObjectAOutput>();
    fillPort(analogOut.get());
    analogOut->setGain(1.0F);
    analogOut->setOffset(0.0F);
    analogOut->setMinimumValue(-10.0F);
    analogOut->setMaximumValue(10.0F);
    analogOut->setDisplayUnit("mA");
    analogOut->setSampledValue(4.5F);

    auto sample = std::make_unique<cObjectAnalogSample>();
    sample->setDeviceSerial(1001);
    sample->setPortNum(1);
    sample->setSample(57.9F);
    sample->setSeqNum(255);

    auto access = std::make_unique<cObjectAccess>();
    access->setDeviceSerial(1001);
    access->setPortNum(1);
    access->setLabel("Gate");
    access->setScanCode("0042");

    auto capability = std::make_unique<cObjectCapability>();
    capability->setDeviceSerial(1001);
    capability->setCapId(7);
    capability->setLabel("Scanners");
    capability->setValue("2");

    auto adhoc = std::make_unique<cObjectAdhocEvent>();
    adhoc->setDeviceSerial(1001);
    adhoc->setPortId(9);
    adhoc->setEventLabel("Smoke");
    adhoc->setEventValue("yes");

    std::vector<std::unique_ptr<cObject>> records;
    records.push_back(std::move(device));
    records.push_back(std::move(port));
    records.push_back(std::move(input));
    records.push_back(std::move(output));
    records.push_back(std::move(analogIn));
    records.push_back(std::move(analogOut));
    records.push_back(std::move(sample));
    records.push_back(std::move(access));
    records.push_back(std::move(capability));
    records.push_back(std::move(adhoc));
    return records;
}

/// A record's bytes in a message: equal bytes are equal records.
inline std::vector<uint8_t> encoded(const cObject& record)
{
    std::vector<uint8_t> payload(record.encodedSize());
    EXPECT_EQ(record.encode(payload.data()), payload.data() + payload.size());
    return payload;
}

#pragma once

#include "zulobj/record.h"

/// What the four kinds of port have in common, and by itself a plain port record.
class cObjectPort : public cRecord<cObjectPort, cObject, OBJ_PORT>
{
public:
    cObjectPort() : cObjectPort(OBJ_PORT) {}

    /// kWildcard stands for every device.
    void setDeviceSerial(uint32_t deviceSerial) { mDeviceSerial = deviceSerial; }
    uint32_t getDeviceSerial() const { return mDeviceSerial; }

    /// From 1; kWildcard stands for every port of its kind.
    void setPortId(uint32_t portId) { mPortId = portId; }
    uint32_t getPortId() const { return mPortId; }

    void setPortLabel(const char* portLabel) { mPortLabel.set(portLabel); }
    const char* getPortLabel() const { return mPortLabel.get(); }

    void setPortStatus(eObjectStatus portStatus) { mPortStatus = portStatus; }
    eObjectStatus getPortStatus() const { return static_cast<eObjectStatus>(mPortStatus); }

    /// The type code of the record's class until another is set. In a request, a type other than the
    /// port's own asks for plain port records. A plain copy of a port keeps the port's type here.
    void setPortType(uint32_t portType) { mPortType = portType; }
    uint32_t getPortType() const { return mPortType; }

    /// The fields of every kind of port, then @p own.
    template <class Port = cObjectPort, class... Own>
    static constexpr auto table(Own... own)
    {
        return std::to_array<cField<Port>>({
            {TAG_DEVICE_SERIAL, &cObjectPort::mDeviceSerial, true},
            {TAG_PORT_ID, &cObjectPort::mPortId, true},
            {TAG_PORT_LABEL, &cObjectPort::mPortLabel},
            {TAG_PORT_STATUS, &cObjectPort::mPortStatus},
            {TAG_PORT_TYPE, &cObjectPort::mPortType},
            own...,
        });
    }

protected:
    explicit cObjectPort(eObjectTypes type) : cRecord(type), mPortType(type) {}

private:
    uint32_t mDeviceSerial = 0;
    uint32_t mPortId = 0;
    cText mPortLabel;
    uint32_t mPortStatus = OBJ_STATUS_ALARM_UNKNOWN;
    uint32_t mPortType;
};

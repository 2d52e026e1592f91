#pragma once

#include "zulobj/record.h"

/// The device itself: what it is called and how many ports it has.
class cObjectDevice : public cRecord<cObjectDevice, cObject, OBJ_DEVICE>
{
public:
    enum eDeviceType : uint32_t
    {
        TYPE_UNKNOWN = 0,
        TYPE_DISCRETE_IO = 1,
        TYPE_AC_MONITOR = 2,
        TYPE_HUMID_TEMP_IN = 3,
        TYPE_HUMID_TEMP_IO = 4,
        TYPE_SNMP = 5,
        TYPE_MODBUS = 6,
        TYPE_DLMS = 7,
        TYPE_VEEDER_ROOT = 8,
        TYPE_CAMERA = 9,
        TYPE_GSM = 10
    };

    void setDeviceSerial(uint32_t deviceSerial) { mDeviceSerial = deviceSerial; }
    uint32_t getDeviceSerial() const { return mDeviceSerial; }

    void setDeviceLabel(const char* deviceLabel) { mDeviceLabel.set(deviceLabel); }
    const char* getDeviceLabel() const { return mDeviceLabel.get(); }

    void setDeviceType(eDeviceType deviceType) { mDeviceType = deviceType; }
    eDeviceType getDeviceType() const { return static_cast<eDeviceType>(mDeviceType); }

    void setVersion(uint32_t version) { mVersion = version; }
    uint32_t getVersion() const { return mVersion; }

    void setDiscreteInCount(uint32_t discreteInCount) { mDiscreteInCount = discreteInCount; }
    uint32_t getDiscreteInCount() const { return mDiscreteInCount; }

    void setDiscreteOutCount(uint32_t discreteOutCount) { mDiscreteOutCount = discreteOutCount; }
    uint32_t getDiscreteOutCount() const { return mDiscreteOutCount; }

    void setAnalogInCount(uint32_t analogInCount) { mAnalogInCount = analogInCount; }
    uint32_t getAnalogInCount() const { return mAnalogInCount; }

    void setAnalogOutCount(uint32_t analogOutCount) { mAnalogOutCount = analogOutCount; }
    uint32_t getAnalogOutCount() const { return mAnalogOutCount; }

    static constexpr auto table()
    {
        return std::to_array<Field>({
            {TAG_DEVICE_SERIAL, &cObjectDevice::mDeviceSerial, true},
            {TAG_DEVICE_LABEL, &cObjectDevice::mDeviceLabel},
            {TAG_DEVICE_TYPE, &cObjectDevice::mDeviceType},
            {TAG_VERSION, &cObjectDevice::mVersion},
            {TAG_DISCRETE_IN_COUNT, &cObjectDevice::mDiscreteInCount},
            {TAG_DISCRETE_OUT_COUNT, &cObjectDevice::mDiscreteOutCount},
            {TAG_ANALOG_IN_COUNT, &cObjectDevice::mAnalogInCount},
            {TAG_ANALOG_OUT_COUNT, &cObjectDevice::mAnalogOutCount},
        });
    }

private:
    uint32_t mDeviceSerial = 0;
    cText mDeviceLabel;
    uint32_t mDeviceType = TYPE_UNKNOWN;
    uint32_t mVersion = 0;
    uint32_t mDiscreteInCount = 0;
    uint32_t mDiscreteOutCount = 0;
    uint32_t mAnalogInCount = 0;
    uint32_t mAnalogOutCount = 0;
};

#pragma once

#include "zulobj/record.h"

/// One thing that the device says it can do.
class cObjectCapability : public cRecord<cObjectCapability, cObject, OBJ_CAPABILITY>
{
public:
    void setDeviceSerial(uint32_t deviceSerial) { mDeviceSerial = deviceSerial; }
    uint32_t getDeviceSerial() const { return mDeviceSerial; }

    void setCapId(uint32_t capId) { mCapId = capId; }
    uint32_t getCapId() const { return mCapId; }

    void setLabel(const char* label) { mLabel.set(label); }
    const char* getLabel() const { return mLabel.get(); }

    void setValue(const char* value) { mValue.set(value); }
    const char* getValue() const { return mValue.get(); }

    static constexpr auto table()
    {
        return std::to_array<Field>({
            {TAG_DEVICE_SERIAL, &cObjectCapability::mDeviceSerial, true},
            {TAG_CAP_ID, &cObjectCapability::mCapId, true},
            {TAG_LABEL, &cObjectCapability::mLabel},
            {TAG_VALUE, &cObjectCapability::mValue},
        });
    }

private:
    uint32_t mDeviceSerial = 0;
    uint32_t mCapId = 0;
    cText mLabel;
    cText mValue;
};

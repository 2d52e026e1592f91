#pragma once

#include "zulobj/record.h"

/// One thing that the device says it can do.
///
/// Text getters return null for a text never set, else a pointer that holds until the text is set again.
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

    static constexpr std::array<cField<cObjectCapability>, 4> table();

private:
    uint32_t mDeviceSerial = 0;
    uint32_t mCapId = 0;
    cText mLabel;
    cText mValue;
};

extern template class cRecord<cObjectCapability, cObject, OBJ_CAPABILITY>;

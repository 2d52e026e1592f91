#pragma once

#include "zulobj/record.h"

/// A card scanner, with the code that it scanned last.
class cObjectAccess : public cRecord<cObjectAccess, cObject, OBJ_ACCESS>
{
public:
    void setDeviceSerial(uint32_t deviceSerial) { mDeviceSerial = deviceSerial; }
    uint32_t getDeviceSerial() const { return mDeviceSerial; }

    /// The number of the scanner, from 1.
    void setPortNum(uint32_t portNum) { mPortNum = portNum; }
    uint32_t getPortNum() const { return mPortNum; }

    void setLabel(const char* label) { mLabel.set(label); }
    const char* getLabel() const { return mLabel.get(); }

    void setScanCode(const char* scanCode) { mScanCode.set(scanCode); }
    const char* getScanCode() const { return mScanCode.get(); }

    static constexpr auto table()
    {
        return std::to_array<Field>({
            {TAG_DEVICE_SERIAL, &cObjectAccess::mDeviceSerial, true},
            {TAG_PORT_NUM, &cObjectAccess::mPortNum, true},
            {TAG_LABEL, &cObjectAccess::mLabel},
            {TAG_SCAN_CODE, &cObjectAccess::mScanCode},
        });
    }

private:
    uint32_t mDeviceSerial = 0;
    uint32_t mPortNum = 0;
    cText mLabel;
    cText mScanCode;
};

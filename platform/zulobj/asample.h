#pragma once

#include "zulobj/record.h"

/// One sample of an analog input.
class cObjectAnalogSample : public cRecord<cObjectAnalogSample, cObject, OBJ_ANALOG_SAMPLE>
{
public:
    void setDeviceSerial(uint32_t deviceSerial) { mDeviceSerial = deviceSerial; }
    uint32_t getDeviceSerial() const { return mDeviceSerial; }

    /// The port id of the analog input.
    void setPortNum(uint32_t portNum) { mPortNum = portNum; }
    uint32_t getPortNum() const { return mPortNum; }

    void setSample(float sample) { mSample = sample; }
    float getSample() const { return mSample; }

    /// Counts 1 to 255, then 0, for each input; 0 in a sample that is not a periodic one.
    void setSeqNum(uint32_t seqNum) { mSeqNum = seqNum; }
    uint32_t getSeqNum() const { return mSeqNum; }

    static constexpr auto table()
    {
        return std::to_array<Field>({
            {TAG_DEVICE_SERIAL, &cObjectAnalogSample::mDeviceSerial, true},
            {TAG_PORT_NUM, &cObjectAnalogSample::mPortNum, true},
            {TAG_SAMPLE, &cObjectAnalogSample::mSample},
            {TAG_SEQ_NUM, &cObjectAnalogSample::mSeqNum, true},
        });
    }

private:
    uint32_t mDeviceSerial = 0;
    uint32_t mPortNum = 0;
    float mSample = 0.0F;
    uint32_t mSeqNum = 0;
};

#pragma once

#include <cmath>

#include "zulobj/port.h"

/// An analog input as the server sees it.
class cObjectAInput : public cRecord<cObjectAInput, cObjectPort, OBJ_PORT_AIN>
{
public:
    /// NaN in a set leaves the gain as it is; NaN until set.
    void setGain(float gain) { mGain = gain; }
    float getGain() const { return mGain; }

    /// NaN in a set leaves the offset as it is; NaN until set.
    void setOffset(float offset) { mOffset = offset; }
    float getOffset() const { return mOffset; }

    /// Minutes between samples; kRateUnchanged until set. In a set, that leaves the rate as it is.
    void setSampleRate(uint32_t sampleRate) { mSampleRate = sampleRate; }
    uint32_t getSampleRate() const { return mSampleRate; }

    void setDisplayUnit(const char* displayUnit) { mDisplayUnit.set(displayUnit); }
    const char* getDisplayUnit() const { return mDisplayUnit.get(); }

    /// The value of the last periodic sample, 0 before the first.
    void setSampledValue(float sampledValue) { mSampledValue = sampledValue; }
    float getSampledValue() const { return mSampledValue; }

    /// The sequence number of the last periodic sample, 0 to 255; 0 before the first.
    void setLastSampleSeq(uint32_t lastSampleSeq) { mLastSampleSeq = lastSampleSeq; }
    uint32_t getLastSampleSeq() const { return mLastSampleSeq; }

    static constexpr auto table()
    {
        return cObjectPort::table<cObjectAInput>(Field{TAG_GAIN, &cObjectAInput::mGain},
                                                 Field{TAG_OFFSET, &cObjectAInput::mOffset},
                                                 Field{TAG_SAMPLE_RATE, &cObjectAInput::mSampleRate},
                                                 Field{TAG_DISPLAY_UNIT, &cObjectAInput::mDisplayUnit},
                                                 Field{TAG_SAMPLED_VALUE, &cObjectAInput::mSampledValue},
                                                 Field{TAG_LAST_SAMPLE_SEQ, &cObjectAInput::mLastSampleSeq});
    }

private:
    float mGain = NAN;
    float mOffset = NAN;
    uint32_t mSampleRate = kRateUnchanged;
    cText mDisplayUnit;
    float mSampledValue = 0.0F;
    uint32_t mLastSampleSeq = 0;
};

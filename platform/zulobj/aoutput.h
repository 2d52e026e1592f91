#pragma once

#include <cmath>

#include "zulobj/port.h"

/// An analog output as the server sees it.
class cObjectAOutput : public cRecord<cObjectAOutput, cObjectPort, OBJ_PORT_AOUT>
{
public:
    /// NaN until set.
    void setGain(float gain) { mGain = gain; }
    float getGain() const { return mGain; }

    /// NaN until set.
    void setOffset(float offset) { mOffset = offset; }
    float getOffset() const { return mOffset; }

    void setMinimumValue(float minimumValue) { mMinimumValue = minimumValue; }
    float getMinimumValue() const { return mMinimumValue; }

    void setMaximumValue(float maximumValue) { mMaximumValue = maximumValue; }
    float getMaximumValue() const { return mMaximumValue; }

    void setDisplayUnit(const char* displayUnit) { mDisplayUnit.set(displayUnit); }
    const char* getDisplayUnit() const { return mDisplayUnit.get(); }

    /// NaN in a set leaves the value as it is; NaN until set.
    void setSampledValue(float sampledValue) { mSampledValue = sampledValue; }
    float getSampledValue() const { return mSampledValue; }

    static constexpr auto table()
    {
        return cObjectPort::table<cObjectAOutput>(Field{TAG_GAIN, &cObjectAOutput::mGain},
                                                  Field{TAG_OFFSET, &cObjectAOutput::mOffset},
                                                  Field{TAG_MINIMUM_VALUE, &cObjectAOutput::mMinimumValue},
                                                  Field{TAG_MAXIMUM_VALUE, &cObjectAOutput::mMaximumValue},
                                                  Field{TAG_DISPLAY_UNIT, &cObjectAOutput::mDisplayUnit},
                                                  Field{TAG_SAMPLED_VALUE, &cObjectAOutput::mSampledValue});
    }

private:
    float mGain = NAN;
    float mOffset = NAN;
    float mMinimumValue = 0.0F;
    float mMaximumValue = 0.0F;
    cText mDisplayUnit;
    float mSampledValue = NAN;
};

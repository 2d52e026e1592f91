#pragma once

#include <cmath>

#include "zulobj/port.h"

/// An analog output as the server sees it.
///
/// Text getters return null for a text never set, else a pointer that holds until the text is set again.
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

    static constexpr std::array<cField<cObjectAOutput>, 11> table();

private:
    float mGain = NAN;
    float mOffset = NAN;
    float mMinimumValue = 0.0F;
    float mMaximumValue = 0.0F;
    cText mDisplayUnit;
    float mSampledValue = NAN;
};

extern template class cRecord<cObjectAOutput, cObjectPort, OBJ_PORT_AOUT>;

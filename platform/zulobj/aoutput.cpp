#include "zulobj/aoutput.h"

#include "zulobj/record_impl.h"

constexpr std::array<cField<cObjectAOutput>, 11> cObjectAOutput::table()
{
    constexpr std::array<cField<cObjectAOutput>, 6> own = {{
        {TAG_GAIN, &cObjectAOutput::mGain},
        {TAG_OFFSET, &cObjectAOutput::mOffset},
        {TAG_MINIMUM_VALUE, &cObjectAOutput::mMinimumValue},
        {TAG_MAXIMUM_VALUE, &cObjectAOutput::mMaximumValue},
        {TAG_DISPLAY_UNIT, &cObjectAOutput::mDisplayUnit},
        {TAG_SAMPLED_VALUE, &cObjectAOutput::mSampledValue},
    }};
    return joinFields(portFields<cObjectAOutput>(), own);
}

template class cRecord<cObjectAOutput, cObjectPort, OBJ_PORT_AOUT>;

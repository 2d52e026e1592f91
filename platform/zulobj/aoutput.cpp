#include "zulobj/aoutput.h"

#include "zulobj/record_impl.h"

template class cRecord<cObjectAOutput, cObjectPort, OBJ_PORT_AOUT>;

cFieldTable<cObjectAOutput> cObjectAOutput::fields()
{
    static constexpr std::array<cField<cObjectAOutput>, 6> kOwn = {{
        {TAG_GAIN, &cObjectAOutput::mGain},
        {TAG_OFFSET, &cObjectAOutput::mOffset},
        {TAG_MINIMUM_VALUE, &cObjectAOutput::mMinimumValue},
        {TAG_MAXIMUM_VALUE, &cObjectAOutput::mMaximumValue},
        {TAG_DISPLAY_UNIT, &cObjectAOutput::mDisplayUnit},
        {TAG_SAMPLED_VALUE, &cObjectAOutput::mSampledValue},
    }};
    static constexpr auto kFields = joinFields(portFields<cObjectAOutput>(), kOwn);
    return {kFields.data(), kFields.size()};
}

#include "zulobj/ainput.h"

#include "zulobj/record_impl.h"

template class cRecord<cObjectAInput, cObjectPort, OBJ_PORT_AIN>;

cFieldTable<cObjectAInput> cObjectAInput::fields()
{
    static constexpr std::array<cField<cObjectAInput>, 6> kOwn = {{
        {TAG_GAIN, &cObjectAInput::mGain},
        {TAG_OFFSET, &cObjectAInput::mOffset},
        {TAG_SAMPLE_RATE, &cObjectAInput::mSampleRate},
        {TAG_DISPLAY_UNIT, &cObjectAInput::mDisplayUnit},
        {TAG_SAMPLED_VALUE, &cObjectAInput::mSampledValue},
        {TAG_LAST_SAMPLE_SEQ, &cObjectAInput::mLastSampleSeq},
    }};
    static constexpr auto kFields = joinFields(portFields<cObjectAInput>(), kOwn);
    return {kFields.data(), kFields.size()};
}

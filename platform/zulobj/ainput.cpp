#include "zulobj/ainput.h"

#include "zulobj/record_impl.h"

constexpr std::array<cField<cObjectAInput>, 11> cObjectAInput::table()
{
    constexpr std::array<cField<cObjectAInput>, 6> own = {{
        {TAG_GAIN, &cObjectAInput::mGain},
        {TAG_OFFSET, &cObjectAInput::mOffset},
        {TAG_SAMPLE_RATE, &cObjectAInput::mSampleRate},
        {TAG_DISPLAY_UNIT, &cObjectAInput::mDisplayUnit},
        {TAG_SAMPLED_VALUE, &cObjectAInput::mSampledValue},
        {TAG_LAST_SAMPLE_SEQ, &cObjectAInput::mLastSampleSeq},
    }};
    return joinFields(portFields<cObjectAInput>(), own);
}

template class cRecord<cObjectAInput, cObjectPort, OBJ_PORT_AIN>;

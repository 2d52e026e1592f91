#include "zulobj/doutput.h"

#include "zulobj/record_impl.h"

constexpr std::array<cField<cObjectDOutput>, 7> cObjectDOutput::table()
{
    constexpr std::array<cField<cObjectDOutput>, 2> own = {{
        {TAG_OUTPUT_STATE, &cObjectDOutput::mOutputState},
        {TAG_DEFAULT_STATE, &cObjectDOutput::mDefaultState},
    }};
    return joinFields(portFields<cObjectDOutput>(), own);
}

template class cRecord<cObjectDOutput, cObjectPort, OBJ_PORT_DOUT>;

#include "zulobj/doutput.h"

#include "zulobj/record_impl.h"

template class cRecord<cObjectDOutput, cObjectPort, OBJ_PORT_DOUT>;

cFieldTable<cObjectDOutput> cObjectDOutput::fields()
{
    static constexpr std::array<cField<cObjectDOutput>, 2> kOwn = {{
        {TAG_OUTPUT_STATE, &cObjectDOutput::mOutputState},
        {TAG_DEFAULT_STATE, &cObjectDOutput::mDefaultState},
    }};
    static constexpr auto kFields = joinFields(portFields<cObjectDOutput>(), kOwn);
    return {kFields.data(), kFields.size()};
}

#include "zulobj/dinput.h"

#include "zulobj/record_impl.h"

template class cRecord<cObjectDInput, cObjectPort, OBJ_PORT_DIN>;

cFieldTable<cObjectDInput> cObjectDInput::fields()
{
    static constexpr std::array<cField<cObjectDInput>, 2> kOwn = {{
        {TAG_INPUT_STATE, &cObjectDInput::mInputState},
        {TAG_DEFAULT_STATE, &cObjectDInput::mDefaultState},
    }};
    static constexpr auto kFields = joinFields(portFields<cObjectDInput>(), kOwn);
    return {kFields.data(), kFields.size()};
}

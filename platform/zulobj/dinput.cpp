#include "zulobj/dinput.h"

#include "zulobj/record_impl.h"

constexpr std::array<cField<cObjectDInput>, 7> cObjectDInput::table()
{
    constexpr std::array<cField<cObjectDInput>, 2> own = {{
        {TAG_INPUT_STATE, &cObjectDInput::mInputState},
        {TAG_DEFAULT_STATE, &cObjectDInput::mDefaultState},
    }};
    return joinFields(portFields<cObjectDInput>(), own);
}

template class cRecord<cObjectDInput, cObjectPort, OBJ_PORT_DIN>;

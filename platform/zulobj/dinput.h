#pragma once

#include "zulobj/port.h"

/// A digital input as the server sees it.
class cObjectDInput : public cRecord<cObjectDInput, cObjectPort, OBJ_PORT_DIN>
{
public:
    void setInputState(eObjectIOState inputState) { mInputState = inputState; }
    eObjectIOState getInputState() const { return static_cast<eObjectIOState>(mInputState); }

    /// OBJ_IO_STATE_UNKNOWN in a set leaves the default state as it is.
    void setDefaultState(eObjectIOState defaultState) { mDefaultState = defaultState; }
    eObjectIOState getDefaultState() const { return static_cast<eObjectIOState>(mDefaultState); }

    static constexpr auto table()
    {
        return cObjectPort::table<cObjectDInput>(Field{TAG_INPUT_STATE, &cObjectDInput::mInputState},
                                                 Field{TAG_DEFAULT_STATE, &cObjectDInput::mDefaultState});
    }

private:
    uint32_t mInputState = OBJ_IO_STATE_UNKNOWN;
    uint32_t mDefaultState = OBJ_IO_STATE_UNKNOWN;
};

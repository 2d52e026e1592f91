#pragma once

#include "zulobj/port.h"

/// A digital input as the server sees it.
///
/// Text getters return null for a text never set, else a pointer that holds until the text is set again.
class cObjectDInput : public cRecord<cObjectDInput, cObjectPort, OBJ_PORT_DIN>
{
public:
    void setInputState(eObjectIOState inputState) { mInputState = inputState; }
    eObjectIOState getInputState() const { return static_cast<eObjectIOState>(mInputState); }

    /// OBJ_IO_STATE_UNKNOWN in a set leaves the default state as it is.
    void setDefaultState(eObjectIOState defaultState) { mDefaultState = defaultState; }
    eObjectIOState getDefaultState() const { return static_cast<eObjectIOState>(mDefaultState); }

    static constexpr std::array<cField<cObjectDInput>, 7> table();

private:
    uint32_t mInputState = OBJ_IO_STATE_UNKNOWN;
    uint32_t mDefaultState = OBJ_IO_STATE_UNKNOWN;
};

extern template class cRecord<cObjectDInput, cObjectPort, OBJ_PORT_DIN>;

#pragma once

#include "zulobj/port.h"

/// A digital output as the server sees it.
class cObjectDOutput : public cRecord<cObjectDOutput, cObjectPort, OBJ_PORT_DOUT>
{
public:
    /// OBJ_IO_STATE_UNKNOWN in a set leaves the state as it is.
    void setOutputState(eObjectIOState outputState) { mOutputState = outputState; }
    eObjectIOState getOutputState() const { return static_cast<eObjectIOState>(mOutputState); }

    /// OBJ_IO_STATE_UNKNOWN in a set leaves the default state as it is.
    void setDefaultState(eObjectIOState defaultState) { mDefaultState = defaultState; }
    eObjectIOState getDefaultState() const { return static_cast<eObjectIOState>(mDefaultState); }

    static constexpr auto table()
    {
        return cObjectPort::table<cObjectDOutput>(Field{TAG_OUTPUT_STATE, &cObjectDOutput::mOutputState},
                                                  Field{TAG_DEFAULT_STATE, &cObjectDOutput::mDefaultState});
    }

private:
    uint32_t mOutputState = OBJ_IO_STATE_UNKNOWN;
    uint32_t mDefaultState = OBJ_IO_STATE_UNKNOWN;
};

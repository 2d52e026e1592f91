#include "zulobj/asample.h"

#include "zulobj/record_impl.h"

constexpr std::array<cField<cObjectAnalogSample>, 4> cObjectAnalogSample::table()
{
    return {{
        {TAG_DEVICE_SERIAL, &cObjectAnalogSample::mDeviceSerial, true},
        {TAG_PORT_NUM, &cObjectAnalogSample::mPortNum, true},
        {TAG_SAMPLE, &cObjectAnalogSample::mSample},
        {TAG_SEQ_NUM, &cObjectAnalogSample::mSeqNum, true},
    }};
}

template class cRecord<cObjectAnalogSample, cObject, OBJ_ANALOG_SAMPLE>;

#include "zulobj/device.h"

#include "zulobj/record_impl.h"

constexpr std::array<cField<cObjectDevice>, 8> cObjectDevice::table()
{
    return {{
        {TAG_DEVICE_SERIAL, &cObjectDevice::mDeviceSerial, true},
        {TAG_DEVICE_LABEL, &cObjectDevice::mDeviceLabel},
        {TAG_DEVICE_TYPE, &cObjectDevice::mDeviceType},
        {TAG_VERSION, &cObjectDevice::mVersion},
        {TAG_DISCRETE_IN_COUNT, &cObjectDevice::mDiscreteInCount},
        {TAG_DISCRETE_OUT_COUNT, &cObjectDevice::mDiscreteOutCount},
        {TAG_ANALOG_IN_COUNT, &cObjectDevice::mAnalogInCount},
        {TAG_ANALOG_OUT_COUNT, &cObjectDevice::mAnalogOutCount},
    }};
}

template class cRecord<cObjectDevice, cObject, OBJ_DEVICE>;

#include "zulobj/capability.h"

#include "zulobj/record_impl.h"

constexpr std::array<cField<cObjectCapability>, 4> cObjectCapability::table()
{
    return {{
        {TAG_DEVICE_SERIAL, &cObjectCapability::mDeviceSerial, true},
        {TAG_CAP_ID, &cObjectCapability::mCapId, true},
        {TAG_LABEL, &cObjectCapability::mLabel},
        {TAG_VALUE, &cObjectCapability::mValue},
    }};
}

template class cRecord<cObjectCapability, cObject, OBJ_CAPABILITY>;

#include "zulobj/capability.h"

#include "zulobj/record_impl.h"

template class cRecord<cObjectCapability, cObject, OBJ_CAPABILITY>;

cFieldTable<cObjectCapability> cObjectCapability::fields()
{
    static constexpr std::array<cField<cObjectCapability>, 4> kFields = {{
        {TAG_DEVICE_SERIAL, &cObjectCapability::mDeviceSerial, true},
        {TAG_CAP_ID, &cObjectCapability::mCapId, true},
        {TAG_LABEL, &cObjectCapability::mLabel},
        {TAG_VALUE, &cObjectCapability::mValue},
    }};
    return {kFields.data(), kFields.size()};
}

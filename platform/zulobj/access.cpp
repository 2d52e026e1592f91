#include "zulobj/access.h"

#include "zulobj/record_impl.h"

template class cRecord<cObjectAccess, cObject, OBJ_ACCESS>;

cFieldTable<cObjectAccess> cObjectAccess::fields()
{
    static constexpr std::array<cField<cObjectAccess>, 4> kFields = {{
        {TAG_DEVICE_SERIAL, &cObjectAccess::mDeviceSerial, true},
        {TAG_PORT_NUM, &cObjectAccess::mPortNum, true},
        {TAG_LABEL, &cObjectAccess::mLabel},
        {TAG_SCAN_CODE, &cObjectAccess::mScanCode},
    }};
    return {kFields.data(), kFields.size()};
}

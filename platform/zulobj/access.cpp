#include "zulobj/access.h"

#include "zulobj/record_impl.h"

constexpr std::array<cField<cObjectAccess>, 4> cObjectAccess::table()
{
    return {{
        {TAG_DEVICE_SERIAL, &cObjectAccess::mDeviceSerial, true},
        {TAG_PORT_NUM, &cObjectAccess::mPortNum, true},
        {TAG_LABEL, &cObjectAccess::mLabel},
        {TAG_SCAN_CODE, &cObjectAccess::mScanCode},
    }};
}

template class cRecord<cObjectAccess, cObject, OBJ_ACCESS>;

#include "zulobj/adhoc.h"

#include "zulobj/record_impl.h"

constexpr std::array<cField<cObjectAdhocEvent>, 4> cObjectAdhocEvent::table()
{
    return {{
        {TAG_DEVICE_SERIAL, &cObjectAdhocEvent::mDeviceSerial, true},
        {TAG_PORT_ID, &cObjectAdhocEvent::mPortId, true},
        {TAG_EVENT_LABEL, &cObjectAdhocEvent::mEventLabel},
        {TAG_EVENT_VALUE, &cObjectAdhocEvent::mEventValue},
    }};
}

template class cRecord<cObjectAdhocEvent, cObject, OBJ_ADHOC_EVENT>;

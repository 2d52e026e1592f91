#include "zulobj/recordfactory.h"

#include "zulobj/access.h"
#include "zulobj/adhoc.h"
#include "zulobj/ainput.h"
#include "zulobj/aoutput.h"
#include "zulobj/asample.h"
#include "zulobj/capability.h"
#include "zulobj/device.h"
#include "zulobj/dinput.h"
#include "zulobj/doutput.h"
#include "zulobj/port.h"
#include "zulobj/record_impl.h"

template class cRecord<cObjectAccess, cObject, OBJ_ACCESS>;
template class cRecord<cObjectAdhocEvent, cObject, OBJ_ADHOC_EVENT>;
template class cRecord<cObjectAInput, cObjectPort, OBJ_PORT_AIN>;
template class cRecord<cObjectAOutput, cObjectPort, OBJ_PORT_AOUT>;
template class cRecord<cObjectAnalogSample, cObject, OBJ_ANALOG_SAMPLE>;
template class cRecord<cObjectCapability, cObject, OBJ_CAPABILITY>;
template class cRecord<cObjectDevice, cObject, OBJ_DEVICE>;
template class cRecord<cObjectDInput, cObjectPort, OBJ_PORT_DIN>;
template class cRecord<cObjectDOutput, cObjectPort, OBJ_PORT_DOUT>;
template class cRecord<cObjectPort, cObject, OBJ_PORT>;

namespace zulobj {

std::unique_ptr<cObject> createRecord(eObjectTypes type)
{
    switch (type) {
    case OBJ_DEVICE:
        return std::make_unique<cObjectDevice>();
    case OBJ_PORT:
        return std::make_unique<cObjectPort>();
    case OBJ_PORT_DIN:
        return std::make_unique<cObjectDInput>();
    case OBJ_PORT_DOUT:
        return std::make_unique<cObjectDOutput>();
    case OBJ_PORT_AIN:
        return std::make_unique<cObjectAInput>();
    case OBJ_PORT_AOUT:
        return std::make_unique<cObjectAOutput>();
    case OBJ_ANALOG_SAMPLE:
        return std::make_unique<cObjectAnalogSample>();
    case OBJ_ACCESS:
        return std::make_unique<cObjectAccess>();
    case OBJ_CAPABILITY:
        return std::make_unique<cObjectCapability>();
    case OBJ_ADHOC_EVENT:
        return std::make_unique<cObjectAdhocEvent>();
    default:
        return std::make_unique<cObject>(type);
    }
}

} // namespace zulobj

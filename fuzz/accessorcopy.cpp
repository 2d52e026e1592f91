#include "accessorcopy.h"

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

namespace {

void copy(const cObjectDevice& from, cObjectDevice* to)
{
    to->setDeviceSerial(from.getDeviceSerial());
    to->setDeviceLabel(from.getDeviceLabel());
    to->setDeviceType(from.getDeviceType());
    to->setVersion(from.getVersion());
    to->setDiscreteInCount(from.getDiscreteInCount());
    to->setDiscreteOutCount(from.getDiscreteOutCount());
    to->setAnalogInCount(from.getAnalogInCount());
    to->setAnalogOutCount(from.getAnalogOutCount());
}

void copy(const cObjectPort& from, cObjectPort* to)
{
    to->setDeviceSerial(from.getDeviceSerial());
    to->setPortId(from.getPortId());
    to->setPortLabel(from.getPortLabel());
    to->setPortStatus(from.getPortStatus());
    to->setPortType(from.getPortType());
}

void copy(const cObjectDInput& from, cObjectDInput* to)
{
    copy(static_cast<const cObjectPort&>(from), static_cast<cObjectPort*>(to));
    to->setInputState(from.getInputState());
    to->setDefaultState(from.getDefaultState());
}

void copy(const cObjectDOutput& from, cObjectDOutput* to)
{
    copy(static_cast<const cObjectPort&>(from), static_cast<cObjectPort*>(to));
    to->setOutputState(from.getOutputState());
    to->setDefaultState(from.getDefaultState());
}

void copy(const cObjectAInput& from, cObjectAInput* to)
{
    copy(static_cast<const cObjectPort&>(from), static_cast<cObjectPort*>(to));
    to->setGain(from.getGain());
    to->setOffset(from.getOffset());
    to->setSampleRate(from.getSampleRate());
    to->setDisplayUnit(from.getDisplayUnit());
    to->setSampledValue(from.getSampledValue());
    to->setLastSampleSeq(from.getLastSampleSeq());
}

void copy(const cObjectAOutput& from, cObjectAOutput* to)
{
    copy(static_cast<const cObjectPort&>(from), static_cast<cObjectPort*>(to));
    to->setGain(from.getGain());
    to->setOffset(from.getOffset());
    to->setMinimumValue(from.getMinimumValue());
    to->setMaximumValue(from.getMaximumValue());
    to->setDisplayUnit(from.getDisplayUnit());
    to->setSampledValue(from.getSampledValue());
}

void copy(const cObjectAnalogSample& from, cObjectAnalogSample* to)
{
    to->setDeviceSerial(from.getDeviceSerial());
    to->setPortNum(from.getPortNum());
    to->setSample(from.getSample());
    to->setSeqNum(from.getSeqNum());
}

void copy(const cObjectAccess& from, cObjectAccess* to)
{
    to->setDeviceSerial(from.getDeviceSerial());
    to->setPortNum(from.getPortNum());
    to->setLabel(from.getLabel());
    to->setScanCode(from.getScanCode());
}

void copy(const cObjectCapability& from, cObjectCapability* to)
{
    to->setDeviceSerial(from.getDeviceSerial());
    to->setCapId(from.getCapId());
    to->setLabel(from.getLabel());
    to->setValue(from.getValue());
}

void copy(const cObjectAdhocEvent& from, cObjectAdhocEvent* to)
{
    to->setDeviceSerial(from.getDeviceSerial());
    to->setPortId(from.getPortId());
    to->setEventLabel(from.getEventLabel());
    to->setEventValue(from.getEventValue());
}

/// Null where @p record is of another class.
template <class Record>
std::unique_ptr<cObject> copyOf(const cObject& record)
{
    const auto* from = dynamic_cast<const Record*>(&record);
    if (from == nullptr) {
        return nullptr;
    }
    auto to = std::make_unique<Record>();
    copy(*from, to.get());
    return to;
}

} // namespace

std::unique_ptr<cObject> copiedByAccessors(const cObject& record)
{
    switch (record.getType()) {
    case OBJ_DEVICE:
        return copyOf<cObjectDevice>(record);
    case OBJ_PORT:
        return copyOf<cObjectPort>(record);
    case OBJ_PORT_DIN:
        return copyOf<cObjectDInput>(record);
    case OBJ_PORT_DOUT:
        return copyOf<cObjectDOutput>(record);
    case OBJ_PORT_AIN:
        return copyOf<cObjectAInput>(record);
    case OBJ_PORT_AOUT:
        return copyOf<cObjectAOutput>(record);
    case OBJ_ANALOG_SAMPLE:
        return copyOf<cObjectAnalogSample>(record);
    case OBJ_ACCESS:
        return copyOf<cObjectAccess>(record);
    case OBJ_CAPABILITY:
        return copyOf<cObjectCapability>(record);
    case OBJ_ADHOC_EVENT:
        return copyOf<cObjectAdhocEvent>(record);
    default:
        return std::make_unique<cObject>(record.getType());
    }
}

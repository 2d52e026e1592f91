#include "zuldevice/portrules.h"

#include <algorithm>
#include <ostream>

namespace zuldevice {

void describeDevice(cObjectDevice* device, const Counts& counts, const char* label, uint32_t version,
                    uint32_t serial)
{
    device->setDiscreteInCount(counts.digitalInputs);
    device->setDiscreteOutCount(counts.digitalOutputs);
    device->setAnalogInCount(counts.analogInputs);
    device->setAnalogOutCount(counts.analogOutputs);
    device->setDeviceSerial(serial);
    device->setDeviceLabel(label);
    device->setDeviceType(cObjectDevice::TYPE_DISCRETE_IO);
    device->setVersion(version);
}

bool setAlarmStatus(cObjectPort* port, cObject::eObjectIOState state, cObject::eObjectIOState defaultState)
{
    const bool alarm = state != defaultState;
    port->setPortStatus(alarm ? cObject::OBJ_STATUS_ALARM_SET : cObject::OBJ_STATUS_ALARM_CLEAR);
    return alarm;
}

cObjectAnalogSample* takeSample(cObjectAInput* input, float value, time_t now, time_t* last,
                                SampleBuffer* buffer, uint32_t* index, std::ostream& trace)
{
    *last = now;
    input->setSampledValue(value);
    trace << "Sample time for port " << input->getPortId() << " : " << now << " : " << value << std::endl;
    if (*index == buffer->size()) {
        buffer->emplace_back();
    }
    cObjectAnalogSample& slot = (*buffer)[*index];
    slot.setDeviceSerial(input->getDeviceSerial());
    slot.setPortNum(input->getPortId());
    slot.setSample(value);
    slot.setSeqNum((input->getLastSampleSeq() + 1) & 0xFF);
    input->setLastSampleSeq(slot.getSeqNum());
    *index = (*index + 1) % kSamplesKept;
    return static_cast<cObjectAnalogSample*>(slot.clone());
}

int64_t nextSample(const cObjectAInput& input, time_t last)
{
    const uint32_t rate = input.getSampleRate() * 60U; // in seconds, wraps at 32 bits
    return static_cast<int64_t>(last) + int64_t{rate} + 1;
}

const cObjectAnalogSample* findSample(const cObjectAInput& input, const SampleBuffer& buffer, uint32_t seq)
{
    const auto found = std::ranges::find_if(buffer, [&](const cObjectAnalogSample& slot) {
        return slot.getPortNum() == input.getPortId() && slot.getSeqNum() == seq;
    });
    return found == buffer.end() ? nullptr : &*found;
}

} // namespace zuldevice

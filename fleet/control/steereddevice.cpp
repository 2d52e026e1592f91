#include "fleet/control/steereddevice.h"

namespace fleet {

int SteeredDevice::sliderOf(const cObject& record)
{
    const auto* input = dynamic_cast<const PlainAInput*>(&record);
    return input == nullptr ? 0 : input->getValue();
}

zulcommand::JsonPtr SteeredDevice::objectOf(const cObject& record) const
{
    zulcommand::JsonPtr json(record.getJSONObj());
    if (record.getType() == OBJ_PORT_AIN) {
        json_object_set_new(json.get(), "value", json_integer(sliderOf(record)));
    }
    return json;
}

void SteeredDevice::setDigitalInput(int port, bool high)
{
    mFleet.act(mDevice,
               [&](PlainDevice& plain) { return plain.setDigitalInput(static_cast<uint32_t>(port), high); });
}

void SteeredDevice::setAnalogInput(int port, int value)
{
    mFleet.act(mDevice,
               [&](PlainDevice& plain) { return plain.setAnalogInput(static_cast<uint32_t>(port), value); });
}

void SteeredDevice::reportScan(int scanner, const std::string& code)
{
    mFleet.act(mDevice,
               [&](PlainDevice& plain) { return plain.scan(static_cast<uint32_t>(scanner), code.c_str()); });
}

bool SteeredDevice::reportAdhoc(uint32_t id, const std::string& label, const std::string& value)
{
    return mFleet.act(mDevice, [&](PlainDevice& plain) {
        plain.adhoc(id, label.c_str(), value.c_str());
        return true;
    });
}

bool SteeredDevice::setWired(eObjectTypes type, int input, int output, bool wired)
{
    return mFleet.act(mDevice, [&](PlainDevice& plain) {
        return plain.setWired(type, static_cast<uint32_t>(input), static_cast<uint32_t>(output), wired);
    });
}

} // namespace fleet

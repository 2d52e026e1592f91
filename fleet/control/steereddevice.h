#pragma once

#include "fleet/devices/fleet.h"
#include "zulcommand/steereddevice.h"

namespace fleet {

/// A device of a fleet as commands steer it. Wrong numbers do nothing.
class SteeredDevice : public cSteeredDevice
{
public:
    /// Both outlive it.
    SteeredDevice(Fleet& fleet, Device& device) : mFleet(fleet), mDevice(device) {}

    std::vector<const cObject*> records(eObjectTypes type) const override
    {
        return mDevice.plain().records(type);
    }
    zulcommand::JsonPtr objectOf(const cObject& record) const override;
    void setDigitalInput(int port, bool high) override;
    void setAnalogInput(int port, int value) override;
    void reportScan(int scanner, const std::string& code) override;
    bool reportAdhoc(uint32_t id, const std::string& label, const std::string& value) override;
    bool setWired(eObjectTypes type, int input, int output, bool wired) override;

    /// Where the slider of an analog input stands; 0 for another record.
    static int sliderOf(const cObject& record);

private:
    Fleet& mFleet;
    Device& mDevice;
};

} // namespace fleet

#pragma once

#include "zulscenario/playeddevice.h"
#include "zulscenario/sensorfaults.h"

namespace zulscenario {

/// A device with the faults of its sensors, as the steps of scenarios find it.
class Stage
{
public:
    /// @p device outlives it. @p index is that of the device in its fleet.
    Stage(PlayedDevice* device, uint32_t serial, uint32_t index)
        : mDevice(*device), mSerial(serial), mIndex(index)
    {}

    PlayedDevice& device() { return mDevice; }
    const PlayedDevice& device() const { return mDevice; }
    SensorFaults& faults() { return mFaults; }
    uint32_t serial() const { return mSerial; }

    /// What an input would be without a fault.
    double actual(const Port& port);

    /// Sets an input; a digital one with a fault has the value when that ends.
    void set(const Level& level);

    std::string text(const std::string& text, uint64_t event) const
    {
        return fillText(text, {event, mSerial, mIndex});
    }

private:
    PlayedDevice& mDevice;
    const uint32_t mSerial;
    const uint32_t mIndex;
    SensorFaults mFaults;
};

/// A slider's place for @p value: rounded and held to 0 to 100.
int sliderValue(double value);

} // namespace zulscenario

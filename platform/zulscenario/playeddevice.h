#pragma once

#include "zulobj/aoutput.h"
#include "zulobj/dinput.h"
#include "zulobj/doutput.h"
#include "zulscenario/scenario.h"

namespace zulscenario {

/// The device that a ScenarioPlayer plays. Times are the player's.
class PlayedDevice
{
public:
    virtual ~PlayedDevice() = default;

    /// Reports the input unless it has the value already.
    virtual void setDigitalInput(uint32_t port, bool high) = 0;

    /// Moves the slider to @p value, 0 to 100, and reports it in any case.
    virtual void setAnalogInput(uint32_t port, int value) = 0;

    /// Sets an input without an event.
    virtual void place(const Port& port, int value) = 0;

    virtual void scan(uint32_t scanner, const std::string& code) = 0;
    virtual void adhoc(uint32_t id, const std::string& label, const std::string& value) = 0;
    virtual void setLink(bool up) = 0;

    /// 1 or 0 of a digital port, another number while its state is not known; where the slider of an analog
    /// input stands; the value of an analog output.
    virtual double read(const Port& port) const = 0;

    /// When the next sample of its own is due; nothing for never.
    virtual std::optional<Time> nextSample() const = 0;

    /// Takes the samples that are due.
    virtual void takeSamples(Time now) = 0;
};

/// What read() returns for the record of a port other than an analog input.
inline double valueOf(const cObjectPort& port)
{
    const auto level = [](cObject::eObjectIOState state) {
        return state == cObject::OBJ_IO_STATE_SET ? 1.0 : state == cObject::OBJ_IO_STATE_CLEAR ? 0.0 : -1.0;
    };
    switch (port.getType()) {
    case OBJ_PORT_DIN:
        return level(static_cast<const cObjectDInput&>(port).getInputState());
    case OBJ_PORT_DOUT:
        return level(static_cast<const cObjectDOutput&>(port).getOutputState());
    default:
        return static_cast<double>(static_cast<const cObjectAOutput&>(port).getSampledValue());
    }
}

} // namespace zulscenario

#pragma once

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

} // namespace zulscenario

#pragma once

#include <map>
#include <optional>
#include <tuple>

#include "zulscenario/draws.h"
#include "zulscenario/scenario.h"

namespace zulscenario {

/// The faults that the sensors of a device have now, one for each input at most.
class SensorFaults
{
public:
    /// Begins @p fault in the place of another one. @p value is that of the input without a fault. Returns
    /// the number of the fault.
    uint64_t begin(const Sensor::Fault& fault, double value, Time now, const Draws& draws);

    /// The value of the input without the fault @p number; nothing if that has ended.
    std::optional<double> end(const Port& port, uint64_t number);

    /// True if @p port has the fault @p number.
    bool has(const Port& port, uint64_t number) const;

    /// What a digital input with a fault would be without it; null for one without a fault.
    double* actual(const Port& port);

    /// What the sensor of the analog input @p port makes of @p value.
    float measure(uint32_t port, float value, Time now);

private:
    struct Running
    {
        Sensor::Fault fault;
        uint64_t number;
        double actual; ///< of an analog input, when the fault began
        Time began;
        Draws draws;
        uint64_t samples = 0;
    };

    using Key = std::pair<eObjectTypes, uint32_t>;

    static Key keyOf(const Port& port) { return {port.type, port.number}; }

    std::map<Key, Running> mRunning;
    uint64_t mBegun = 0;
};

} // namespace zulscenario

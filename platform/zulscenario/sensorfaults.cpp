#include "zulscenario/sensorfaults.h"

#include <limits>

namespace zulscenario {

namespace {

constexpr double kSpikes = 0.1; ///< of all samples

double minutes(Time time) { return std::chrono::duration<double, std::ratio<60>>(time).count(); }

} // namespace

uint64_t SensorFaults::begin(const Sensor::Fault& fault, double value, Time now, const Draws& draws)
{
    mRunning.insert_or_assign(keyOf(fault.port), Running{fault, ++mBegun, value, now, draws});
    return mBegun;
}

std::optional<double> SensorFaults::end(const Port& port, uint64_t number)
{
    if (!has(port, number)) {
        return std::nullopt;
    }
    return mRunning.extract(keyOf(port)).mapped().actual;
}

bool SensorFaults::has(const Port& port, uint64_t number) const
{
    const auto running = mRunning.find(keyOf(port));
    return running != mRunning.end() && running->second.number == number;
}

double* SensorFaults::actual(const Port& port)
{
    const auto running = mRunning.find(keyOf(port));
    return running == mRunning.end() ? nullptr : &running->second.actual;
}

float SensorFaults::measure(uint32_t port, float value, Time now)
{
    const auto found = mRunning.find({OBJ_PORT_AIN, port});
    if (found == mRunning.end()) {
        return value;
    }
    Running& running = found->second;
    const double amount = running.fault.amount;
    const uint64_t sample = running.samples++;
    switch (running.fault.kind) {
    case Sensor::eFault::STUCK:
        return static_cast<float>(running.actual);
    case Sensor::eFault::NOISE:
        return static_cast<float>(value + amount * running.draws.swing(sample));
    case Sensor::eFault::DRIFT:
        return static_cast<float>(value + amount * minutes(now - running.began));
    case Sensor::eFault::SPIKE:
        return static_cast<float>(value + (running.draws.fraction(sample) < kSpikes ? amount : 0.0));
    case Sensor::eFault::NOT_A_NUMBER:
        return std::numeric_limits<float>::quiet_NaN();
    default:
        return value;
    }
}

} // namespace zulscenario

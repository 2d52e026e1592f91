#include "zulscenario/stage.h"

#include <algorithm>
#include <cmath>

namespace zulscenario {

int sliderValue(double value) { return static_cast<int>(std::lround(std::clamp(value, 0.0, 100.0))); }

double Stage::actual(const Port& port)
{
    const double* actual = port.isDigital() ? mFaults.actual(port) : nullptr;
    return actual != nullptr ? *actual : mDevice.read(port);
}

void Stage::set(const Level& level)
{
    const Port& port = level.port;
    if (!port.isDigital()) {
        mDevice.setAnalogInput(port.number, sliderValue(level.value));
    } else if (double* actual = mFaults.actual(port)) {
        *actual = level.value;
    } else {
        mDevice.setDigitalInput(port.number, level.value != 0.0);
    }
}

} // namespace zulscenario

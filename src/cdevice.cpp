#include "cdevice.h"

cDevice::cDevice() = default;

cDevice::cDevice(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, char*, QString, uint32_t, uint32_t)
{
    for (const char* title : {"Digital Inputs", "Digital Outputs", "Analog Inputs", "Analog Outputs",
                              "Digital Input and Output Connections", "Analog Input and Output Connections",
                              "Access Events", "Adhoc Events"}) {
        addTab(new QWidget, QLatin1String(title));
    }
}

void cDevice::start(cConfig*) {}

#ifndef CDEVICE_H
#define CDEVICE_H

#include <QString>
#include <QTabWidget>
#include <cstdint>

class cConfig;

/// Shows the simulated device, one tab for each kind of port.
class cDevice : public QTabWidget
{
    Q_OBJECT

public:
    cDevice();
    cDevice(uint32_t dins, uint32_t douts, uint32_t ains, uint32_t aouts, uint32_t scanners, char* label,
            QString type, uint32_t version, uint32_t serial);
    void start(cConfig* config);
};

#endif

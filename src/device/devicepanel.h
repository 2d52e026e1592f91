#ifndef DEVICEPANEL_H
#define DEVICEPANEL_H

#include <cstdint>
#include <vector>

class QGroupBox;
class QScrollArea;
class QString;
class QTabWidget;
class QWidget;
class cAInput;
class cAOutput;
class cAccess;
class cAdHocEvent;
class cDInput;
class cDOutput;
class cDevice;

/// Builds the pages of a device's panel. Each function adds a tab with @p page, and with as many rows as the
/// device's record counts, whose events go to the device.
namespace devicepanel {

std::vector<cDInput*> addDigitalInputs(cDevice* device, QWidget* page);
std::vector<cDOutput*> addDigitalOutputs(cDevice* device, QWidget* page);
std::vector<cAInput*> addAnalogInputs(cDevice* device, QScrollArea* page);
std::vector<cAOutput*> addAnalogOutputs(cDevice* device, QWidget* page);
std::vector<cAccess*> addScanners(cDevice* device, QWidget* page, uint32_t count);
cAdHocEvent* addAdHocEditor(cDevice* device, QWidget* page);

/// @p inputs stand to the left of @p outputs.
void addWiring(cDevice* device, QWidget* page, const QString& title, QGroupBox* inputs, QGroupBox* outputs);

} // namespace devicepanel

#endif

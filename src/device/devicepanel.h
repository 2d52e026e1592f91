#pragma once

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
class cObjectDevice;

/// Builds the pages of a device's panel. Each function adds a tab with @p page to @p panel, and as many rows
/// as
/// @p device counts, whose events go to the slots of @p panel.
namespace devicepanel {

std::vector<cDInput*> addDigitalInputs(QTabWidget* panel, const cObjectDevice& device, QWidget* page);
std::vector<cDOutput*> addDigitalOutputs(QTabWidget* panel, const cObjectDevice& device, QWidget* page);
std::vector<cAInput*> addAnalogInputs(QTabWidget* panel, const cObjectDevice& device, QScrollArea* page);
std::vector<cAOutput*> addAnalogOutputs(QTabWidget* panel, const cObjectDevice& device, QWidget* page);
std::vector<cAccess*> addScanners(QTabWidget* panel, const cObjectDevice& device, QWidget* page,
                                  uint32_t count);
cAdHocEvent* addAdHocEditor(QTabWidget* panel, const cObjectDevice& device, QWidget* page);

/// @p inputs stand to the left of @p outputs.
void addWiring(QTabWidget* panel, QWidget* page, const QString& title, QGroupBox* inputs, QGroupBox* outputs);

} // namespace devicepanel

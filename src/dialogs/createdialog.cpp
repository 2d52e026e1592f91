#include "createdialog.h"

#include "devicefile.h"
#include "formlayout.h"
#include "formreport.h"

#include <QMessageBox>
#include <utility>

namespace {

cDeviceFile describedBy(const Ui::createdialog& ui)
{
    const auto count = [](const QSpinBox* box) { return static_cast<uint32_t>(box->value()); };
    cDeviceFile device;
    device.digitalInputs = count(ui.discInputs);
    device.digitalOutputs = count(ui.discOutputs);
    device.analogInputs = count(ui.anaInputs);
    device.analogOutputs = count(ui.anaOutputs);
    device.scanners = count(ui.devScanners);
    device.type = ui.devType->currentText();
    device.version = ui.devVersion->text();
    device.serial = ui.devSerial->text();
    device.label = ui.devLabel->text();
    return device;
}

} // namespace

createdialog::createdialog()
{
    ui.setupUi(this);
    scaleForm(*this);
    ui.devType->addItem(QStringLiteral("TYPE_DISCRETE_IO"));
    // The field that has the focus before the form is shown opens selected.
    ui.discInputs->setFocus();
}

void createdialog::on_createButton_clicked()
{
    const std::pair<const QLineEdit*, QString> requests[] = {
        {ui.devLabel, tr("Please provide a label for the device.")},
        {ui.devVersion, tr("Please provide a version number for the device.")},
        {ui.devSerial, tr("Please provide a serial number for the device.")}};
    for (const auto& [field, request] : requests) {
        if (field->text().isEmpty()) {
            QMessageBox::information(this, tr("Device setup"), request, QMessageBox::Ok);
            return;
        }
    }
    const cDeviceFile device = describedBy(ui);
    const QString path = paths::deviceFile(device.label);
    // A file that cannot be written is reported too; loading it then fails.
    saveFile(path, device.text());
    reportDeviceFile(*this, path);
    close();
}

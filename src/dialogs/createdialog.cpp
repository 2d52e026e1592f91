#include "createdialog.h"

#include "devicefile.h"
#include "formreport.h"
#include "formsize.h"
#include "ui_createdialog.h"

#include <QMessageBox>

createdialog::createdialog(QWidget* parent) : QDialog(parent), ui(new Ui::createdialog)
{
    ui->setupUi(this);
    scaleForm(*this);
    ui->devType->addItem(QStringLiteral("TYPE_DISCRETE_IO"));
    // The field that has the focus before the form is shown opens selected.
    ui->discInputs->setFocus();
}

createdialog::~createdialog() { delete ui; }

QString createdialog::whatIsMissing() const
{
    if (ui->devLabel->text().isEmpty()) {
        return tr("Please provide a label for the device.");
    }
    if (ui->devVersion->text().isEmpty()) {
        return tr("Please provide a version number for the device.");
    }
    if (ui->devSerial->text().isEmpty()) {
        return tr("Please provide a serial number for the device.");
    }
    return {};
}

cDeviceFile createdialog::described() const
{
    cDeviceFile device;
    device.digitalInputs = static_cast<uint32_t>(ui->discInputs->value());
    device.digitalOutputs = static_cast<uint32_t>(ui->discOutputs->value());
    device.analogInputs = static_cast<uint32_t>(ui->anaInputs->value());
    device.analogOutputs = static_cast<uint32_t>(ui->anaOutputs->value());
    device.scanners = static_cast<uint32_t>(ui->devScanners->value());
    device.type = ui->devType->currentText();
    device.version = ui->devVersion->text();
    device.serial = ui->devSerial->text();
    device.label = ui->devLabel->text();
    return device;
}

void createdialog::on_createButton_clicked()
{
    const QString missing = whatIsMissing();
    if (!missing.isEmpty()) {
        QMessageBox::information(this, tr("Device setup"), missing, QMessageBox::Ok);
        return;
    }
    const cDeviceFile device = described();
    const QString path = paths::deviceFile(device.label);
    // A file that cannot be written is reported too; loading it then fails.
    device.save(path);
    reportDeviceFile(*this, path);
    close();
}

#include "configpropertiesdialog.h"

#include "formlayout.h"
#include "formreport.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTextStream>

namespace {

/// A line of the file that the dialog edits.
struct Field
{
    const char* key;
    const char* written; ///< the key with the padding that the dialog gives it
    QLineEdit* Ui_configPropertiesDialog::*edit;
};

constexpr Field kFields[] = {
    {"Device version:", "Device version:      ", &Ui_configPropertiesDialog::versionEdit},
    {"Device serial:", "Device serial:      ", &Ui_configPropertiesDialog::serialEdit},
    {"Device label:", "Device label:      ", &Ui_configPropertiesDialog::labelEdit}};

/// Returns the first field whose key is in @p line; null if there is none.
const Field* fieldOf(const QString& line)
{
    for (const Field& field : kFields) {
        if (line.contains(QLatin1String(field.key))) {
            return &field;
        }
    }
    return nullptr;
}

} // namespace

configPropertiesDialog::configPropertiesDialog()
{
    ui.setupUi(this);
    scaleForm(*this);
    // The field that has the focus before the form is shown opens selected.
    ui.labelEdit->setFocus();
}

void configPropertiesDialog::receiveFileName(const QString& name)
{
    fileName = name;
    QTextStream stream(readLineFile(fileName).value_or(QByteArray()));
    QString line;
    while (stream.readLineInto(&line)) {
        if (const Field* field = fieldOf(line)) {
            QLineEdit* edit = ui.*field->edit;
            edit->setText(lineValue(line));
            if (edit == ui.labelEdit) {
                // With the spaces that lineValue() removes: a label that loses them is a changed label.
                previousFileName = line.remove(QRegularExpression("^[^:]*: *"));
            }
        }
    }
}

void configPropertiesDialog::on_confirmButton_clicked()
{
    const eRewrite outcome = rewriteLines(fileName, [this](const QByteArray& line) {
        const Field* field = fieldOf(QString::fromLocal8Bit(line));
        return field == nullptr ? line : field->written + (ui.*field->edit)->text().toLocal8Bit();
    });
    if (outcome != eRewrite::NOT_COPIED) {
        reportDeviceFile(*this, fileName);
    }
    // After the report, because the device is loaded from the old path. Old lines keep the old name.
    const bool mayRename = outcome == eRewrite::REPLACED || outcome == eRewrite::READ_ONLY;
    if (const QString label = ui.labelEdit->text(); mayRename && label != previousFileName) {
        QFile::rename(fileName, QFileInfo(fileName).path() + '/' + label + ".dev");
    }
    close();
}

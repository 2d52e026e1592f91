#include "configpropertiesdialog.h"

#include "formlayout.h"
#include "formreport.h"

#include <QFile>
#include <QFileInfo>
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

/// Returns what follows the first colon and the blanks after it. Unlike lineValue() it keeps other spaces,
/// because a label that loses them is a changed label.
QString withoutPadding(const QString& line)
{
    int begin = line.indexOf(QLatin1Char(':')) + 1;
    while (begin < line.size() && line.at(begin) == QLatin1Char(' ')) {
        ++begin;
    }
    return line.mid(begin);
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
                previousFileName = withoutPadding(line);
            }
        }
    }
}

void configPropertiesDialog::renameAfterLabel() const
{
    const QString label = ui.labelEdit->text();
    if (label != previousFileName) {
        QFile::rename(fileName,
                      QFileInfo(fileName).path() + QLatin1Char('/') + label + QStringLiteral(".dev"));
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
    if (outcome == eRewrite::REPLACED || outcome == eRewrite::READ_ONLY) {
        renameAfterLabel();
    }
    close();
}

#include "configpropertiesdialog.h"

#include "formreport.h"
#include "formsize.h"
#include "linefile.h"
#include "linerewrite.h"
#include "ui_configpropertiesdialog.h"

#include <QFile>
#include <QFileInfo>
#include <QTextStream>
#include <algorithm>

namespace {

/// What follows the first colon and the blanks after it. Unlike lineValue() it keeps other spaces, because a
/// label that loses them is a changed label.
QString withoutPadding(const QString& line)
{
    const QString padded = line.mid(line.indexOf(QLatin1Char(':')) + 1);
    const auto* begin =
        std::find_if(padded.begin(), padded.end(), [](QChar c) { return c != QLatin1Char(' '); });
    return QString(begin, static_cast<int>(padded.end() - begin));
}

} // namespace

configPropertiesDialog::configPropertiesDialog(QWidget* parent)
    : QDialog(parent), ui(new Ui::configPropertiesDialog)
{
    ui->setupUi(this);
    scaleForm(*this);
    // The field that has the focus before the form is shown opens selected.
    ui->labelEdit->setFocus();
}

configPropertiesDialog::~configPropertiesDialog() { delete ui; }

std::optional<configPropertiesDialog::Field> configPropertiesDialog::fieldOf(const QString& line) const
{
    const Field fields[] = {{"Device version:", "Device version:      ", ui->versionEdit},
                            {"Device serial:", "Device serial:      ", ui->serialEdit},
                            {"Device label:", "Device label:      ", ui->labelEdit}};
    for (const Field& field : fields) {
        if (line.contains(QLatin1String(field.key))) {
            return field;
        }
    }
    return std::nullopt;
}

void configPropertiesDialog::receiveFileName(const QString& name)
{
    fileName = name;
    QTextStream stream(readLineFile(fileName).value_or(QByteArray()));
    QString line;
    while (stream.readLineInto(&line)) {
        const std::optional<Field> field = fieldOf(line);
        if (!field) {
            continue;
        }
        field->edit->setText(lineValue(line));
        if (field->edit == ui->labelEdit) {
            previousFileName = withoutPadding(line);
        }
    }
}

QByteArray configPropertiesDialog::edited(const QByteArray& line) const
{
    const std::optional<Field> field = fieldOf(QString::fromLocal8Bit(line));
    return field ? field->written + field->edit->text().toLocal8Bit() : line;
}

void configPropertiesDialog::renameAfterLabel() const
{
    const QString label = ui->labelEdit->text();
    if (label != previousFileName) {
        QFile::rename(fileName,
                      QFileInfo(fileName).path() + QLatin1Char('/') + label + QStringLiteral(".dev"));
    }
}

void configPropertiesDialog::on_confirmButton_clicked()
{
    const linerewrite::eOutcome outcome =
        linerewrite::rewrite(fileName, [this](const QByteArray& line) { return edited(line); });
    if (outcome != linerewrite::NOT_COPIED) {
        reportDeviceFile(*this, fileName);
    }
    // After the report, because the device is loaded from the old path. Old lines keep the old name.
    if (outcome == linerewrite::REPLACED || outcome == linerewrite::READ_ONLY) {
        renameAfterLabel();
    }
    close();
}

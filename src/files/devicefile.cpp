#include "devicefile.h"

#include <QDebug>
#include <QTextStream>

cDeviceFile cDeviceFile::read(const QByteArray& content)
{
    QTextStream stream(content);
    const auto file = zuldevice::DeviceFile::read(stream.readAll().toStdString());
    cDeviceFile values;
    static_cast<zuldevice::Counts&>(values) = file.counts;
    values.type = QString::fromStdString(file.type);
    values.version = QString::fromStdString(file.version);
    values.serial = QString::fromStdString(file.serial);
    if (file.label) {
        values.label = QString::fromStdString(*file.label);
        qDebug().noquote().nospace() << "Read Label As:\"" << values.label << '"';
    }
    return values;
}

QByteArray cDeviceFile::text() const
{
    QByteArray bytes;
    QTextStream stream(&bytes);
    stream << "Digital input(s):    " << digitalInputs << '\n'
           << "Digital output(s):   " << digitalOutputs << '\n'
           << "Analog input(s):     " << analogInputs << '\n'
           << "Analog output(s):    " << analogOutputs << '\n'
           << "Scanner(s):          " << scanners << '\n'
           << "Device type:         " << type << '\n'
           << "Device version:      " << version << '\n'
           << "Device serial:       " << serial << '\n'
           << "Device label:        " << label << '\n';
    stream.flush();
    return bytes;
}

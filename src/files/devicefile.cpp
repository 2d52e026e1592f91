#include "devicefile.h"

#include <QDebug>
#include <QTextStream>

namespace {

/// Keeps a byte order mark at the front, which is one at the front of a file only.
QString textOf(const std::string& utf8) { return QString::fromStdString('>' + utf8).mid(1); }

} // namespace

cDeviceFile cDeviceFile::read(const QByteArray& content)
{
    QTextStream stream(content);
    const auto file = zuldevice::DeviceFile::read(stream.readAll().toStdString());
    cDeviceFile values;
    static_cast<zuldevice::Counts&>(values) = file.counts;
    values.type = textOf(file.type);
    values.version = textOf(file.version);
    values.serial = textOf(file.serial);
    if (file.label) {
        values.label = textOf(*file.label);
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

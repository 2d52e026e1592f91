#include "devicefile.h"

#include "linefile.h"

#include <QDebug>
#include <QTextStream>

namespace {

/// The value of the next line, empty once the lines have run out.
QString nextValue(QTextStream& stream) { return lineValue(stream.readLine()); }

uint32_t nextCount(QTextStream& stream) { return nextValue(stream).toUInt(); }

} // namespace

cDeviceFile cDeviceFile::read(const QByteArray& content)
{
    QTextStream stream(content);
    cDeviceFile values;
    values.digitalInputs = nextCount(stream);
    values.digitalOutputs = nextCount(stream);
    values.analogInputs = nextCount(stream);
    values.analogOutputs = nextCount(stream);
    values.scanners = nextCount(stream);
    values.type = nextValue(stream);
    values.version = nextValue(stream);
    values.serial = nextValue(stream);
    if (!stream.atEnd()) {
        values.label = nextValue(stream);
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

bool cDeviceFile::hasTooManyItems() const
{
    return uint64_t{digitalInputs} + digitalOutputs + analogInputs + analogOutputs + scanners > kMaxItems;
}

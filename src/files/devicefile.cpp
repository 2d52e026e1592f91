#include "devicefile.h"

#include "boundedread.h"
#include "linevalue.h"

#include <QDebug>
#include <QIODevice>
#include <QSaveFile>
#include <QTextStream>

namespace {

/// The value of the next line, empty once the lines have run out.
QString nextValue(QTextStream& stream) { return lineValue(stream.readLine()); }

uint32_t nextCount(QTextStream& stream) { return nextValue(stream).toUInt(); }

} // namespace

cDeviceFile cDeviceFile::read(QIODevice& file)
{
    QTextStream stream(readAtMost(file, kMaxLineFileBytes));
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

void cDeviceFile::write(QIODevice& file) const
{
    QTextStream stream(&file);
    stream << "Digital input(s):    " << digitalInputs << '\n'
           << "Digital output(s):   " << digitalOutputs << '\n'
           << "Analog input(s):     " << analogInputs << '\n'
           << "Analog output(s):    " << analogOutputs << '\n'
           << "Scanner(s):          " << scanners << '\n'
           << "Device type:         " << type << '\n'
           << "Device version:      " << version << '\n'
           << "Device serial:       " << serial << '\n'
           << "Device label:        " << label << '\n';
}

bool cDeviceFile::save(const QString& path) const
{
    QSaveFile file(path);
    file.setDirectWriteFallback(true);
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    write(file);
    // The commit itself would overlook that the last bytes found no room.
    if (!file.flush()) {
        file.cancelWriting();
    }
    return file.commit();
}

uint32_t cDeviceFile::versionNumber() const { return version.toUInt(); }
uint32_t cDeviceFile::serialNumber() const { return serial.toUInt(); }

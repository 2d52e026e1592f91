#include "connectionfile.h"

#include "boundedread.h"
#include "cconfig.h"
#include "linevalue.h"
#include "savefile.h"

#include <QTextStream>
#include <algorithm>

namespace {

QLatin1String key(cConnectionFile::eField field)
{
    switch (field) {
    case cConnectionFile::DESCRIPTOR:
        return QLatin1String("Connection descriptor:");
    case cConnectionFile::ADDRESS:
        return QLatin1String("Connection IP address:");
    case cConnectionFile::PORT:
        break;
    }
    return QLatin1String("Connection port number:");
}

} // namespace

QString& cConnectionFile::value(eField field)
{
    switch (field) {
    case DESCRIPTOR:
        return descriptor;
    case ADDRESS:
        return address;
    case PORT:
        break;
    }
    return port;
}

void cConnectionFile::read(QIODevice& file, std::initializer_list<eField> fields)
{
    QTextStream stream(readAtMost(file, kMaxLineFileBytes));
    QString line;
    while (stream.readLineInto(&line)) {
        const auto* match = std::find_if(fields.begin(), fields.end(),
                                         [&line](eField field) { return line.contains(key(field)); });
        if (match != fields.end()) {
            value(*match) = lineValue(line);
        }
    }
}

QByteArray cConnectionFile::text() const
{
    QByteArray bytes;
    QTextStream stream(&bytes);
    stream << "Connection descriptor:   " << descriptor << '\n'
           << "Connection IP address:   " << address << '\n'
           << "Connection port number:  " << port << '\n';
    stream.flush();
    return bytes;
}

bool cConnectionFile::save(const QString& path) const { return saveFile(path, text()); }

void cConnectionFile::fill(cConfig& record, const QString& path) const
{
    record.setZULIP(address);
    record.setZULPort(port);
    record.setZULConnectionFile(path);
}

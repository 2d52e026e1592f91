#include "connectionfile.h"

#include "cconfig.h"
#include "linefile.h"

#include <QTextStream>
#include <algorithm>

namespace {

struct Line
{
    const char* key;
    QString cConnectionFile::*value;
};

/// In the order of cConnectionFile::eField.
constexpr Line kLines[] = {{"Connection descriptor:", &cConnectionFile::descriptor},
                           {"Connection IP address:", &cConnectionFile::address},
                           {"Connection port number:", &cConnectionFile::port}};

} // namespace

void cConnectionFile::read(const QByteArray& content, std::initializer_list<eField> fields)
{
    QTextStream stream(content);
    QString line;
    while (stream.readLineInto(&line)) {
        const auto* match = std::find_if(fields.begin(), fields.end(), [&line](eField field) {
            return line.contains(QLatin1String(kLines[field].key));
        });
        if (match != fields.end()) {
            this->*kLines[*match].value = lineValue(line);
        }
    }
}

QByteArray cConnectionFile::text() const
{
    constexpr int kKeyWidth = 25;
    QByteArray bytes;
    QTextStream stream(&bytes);
    for (const Line& line : kLines) {
        stream << QByteArray(line.key).leftJustified(kKeyWidth) << this->*line.value << '\n';
    }
    stream.flush();
    return bytes;
}

void cConnectionFile::fill(cConfig& record, const QString& path) const
{
    record.setZULIP(address);
    record.setZULPort(port);
    record.setZULConnectionFile(path);
}

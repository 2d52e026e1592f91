#include "connectionfile.h"

#include "cconfig.h"
#include "linefile.h"

#include <QTextStream>
#include <algorithm>
#include <span>

namespace {

struct Line
{
    const char* key;
    QString cConnectionFile::*value;
};

constexpr Line kLines[] = {{"Connection descriptor:", &cConnectionFile::descriptor},
                           {"Connection IP address:", &cConnectionFile::address},
                           {"Connection port number:", &cConnectionFile::port}};

void readLines(cConnectionFile& connection, const QByteArray& content, std::span<const Line> lines)
{
    QTextStream stream(content);
    QString text;
    while (stream.readLineInto(&text)) {
        const auto match = std::ranges::find_if(
            lines, [&text](const Line& line) { return text.contains(QLatin1String(line.key)); });
        if (match != lines.end()) {
            connection.*match->value = lineValue(text);
        }
    }
}

} // namespace

void cConnectionFile::read(const QByteArray& content) { readLines(*this, content, kLines); }

void cConnectionFile::readServer(const QByteArray& content)
{
    readLines(*this, content, std::span(kLines).subspan(1));
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

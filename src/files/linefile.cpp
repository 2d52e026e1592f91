#include "linefile.h"

#include "readfile.h"

std::optional<QByteArray> readLineFile(const QString& path) { return readFile(path, kMaxLineFileBytes); }

QString lineValue(const QString& line)
{
    // Without a colon indexOf() gives -1, and mid(0) is the whole line.
    QString value = line.mid(line.indexOf(QLatin1Char(':')) + 1);
    value.remove(QLatin1Char(' '));
    return value;
}

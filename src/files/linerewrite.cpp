#include "linerewrite.h"

#include "linefile.h"
#include "readfile.h"
#include "savefile.h"

#include <QFile>

namespace {

QByteArray withoutCarriageReturn(const QByteArray& line)
{
    return line.endsWith('\r') ? line.chopped(1) : line;
}

/// Stops once the result is too long.
QByteArray edited(const QByteArray& content, const linerewrite::cEdit& edit)
{
    QByteArray result;
    for (int start = 0; start < content.size() && result.size() <= kMaxLineFileBytes;) {
        const int end = content.indexOf('\n', start);
        const QByteArray line = content.mid(start, end < 0 ? -1 : end - start);
        result += edit(withoutCarriageReturn(line)) + '\n';
        start = end < 0 ? content.size() : end + 1;
    }
    return result;
}

/// False, and no copy, if it cannot be written. A file in its place that cannot be opened stays.
bool writeCopy(const QString& path, const QByteArray& content)
{
    QFile copy(path);
    // Unbuffered, so that a full disk shows here.
    if (!copy.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        return false;
    }
    if (copy.write(content) == content.size()) {
        return true;
    }
    copy.remove();
    return false;
}

linerewrite::eOutcome replace(const QString& path, const QByteArray& content)
{
    if (!QFile(path).open(QIODevice::ReadWrite)) {
        return linerewrite::READ_ONLY;
    }
    return replaceFile(path, content) ? linerewrite::REPLACED : linerewrite::NOT_REPLACED;
}

} // namespace

linerewrite::eOutcome linerewrite::rewrite(const QString& path, const cEdit& edit)
{
    const std::optional<QByteArray> content = readFile(path, kMaxLineFileBytes + 1);
    const QString copy = path + QStringLiteral(".tmp");
    const QByteArray result = content ? edited(*content, edit) : QByteArray();
    if (!content || content->size() > kMaxLineFileBytes || result.size() > kMaxLineFileBytes ||
        !writeCopy(copy, result)) {
        return NOT_COPIED;
    }
    const eOutcome outcome = replace(path, result);
    QFile::remove(copy);
    return outcome;
}

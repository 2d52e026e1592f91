#include "linefile.h"

#include "readfile.h"
#include "wfile/atomicfile.h"

#include <QFile>
#include <QFileInfo>
#include <sstream>

namespace {

/// Stops once the result is too long.
QByteArray edited(const QByteArray& content, const std::function<QByteArray(const QByteArray&)>& edit)
{
    QByteArray result;
    std::istringstream lines(content.toStdString());
    for (std::string line; result.size() <= kMaxLineFileBytes && std::getline(lines, line);) {
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        result += edit(QByteArray::fromStdString(line)) + '\n';
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

bool replaceFile(const QString& path, const QByteArray& content)
{
    const cAtomicFile file(QFile::encodeName(path).toStdString());
    return file.write({content.constData(), static_cast<size_t>(content.size())}).isOk();
}

} // namespace

std::optional<QByteArray> readLineFile(const QString& path) { return readFile(path, kMaxLineFileBytes); }

QString lineValue(const QString& line)
{
    // Without a colon indexOf() gives -1, and mid(0) is the whole line.
    return line.mid(line.indexOf(QLatin1Char(':')) + 1).remove(QLatin1Char(' '));
}

bool saveFile(const QString& path, const QByteArray& content)
{
    if (QFileInfo(QFileInfo(path).path()).isWritable()) {
        return replaceFile(path, content);
    }
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush();
}

eRewrite rewriteLines(const QString& path, const std::function<QByteArray(const QByteArray& line)>& edit)
{
    const std::optional<QByteArray> content = readFile(path, kMaxLineFileBytes + 1);
    const QString copy = path + QStringLiteral(".tmp");
    const QByteArray result = content ? edited(*content, edit) : QByteArray();
    if (!content || content->size() > kMaxLineFileBytes || result.size() > kMaxLineFileBytes ||
        !writeCopy(copy, result)) {
        return eRewrite::NOT_COPIED;
    }
    eRewrite outcome = eRewrite::READ_ONLY;
    if (QFile(path).open(QIODevice::ReadWrite)) {
        outcome = replaceFile(path, result) ? eRewrite::REPLACED : eRewrite::NOT_REPLACED;
    }
    QFile::remove(copy);
    return outcome;
}

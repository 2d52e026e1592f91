#include "linerewrite.h"

#include "boundedread.h"

#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <unistd.h>

namespace {

QString copyOf(const QString& path) { return path + QStringLiteral(".tmp"); }

QByteArray withoutCarriageReturn(const QByteArray& line)
{
    return line.endsWith('\r') ? line.chopped(1) : line;
}

QByteArray edited(const QByteArray& content, const linerewrite::cEdit& edit)
{
    QByteArray result;
    for (int start = 0; start < content.size();) {
        const int end = content.indexOf('\n', start);
        const QByteArray line = content.mid(start, end < 0 ? -1 : end - start);
        result += edit(withoutCarriageReturn(line)) + '\n';
        start = end < 0 ? content.size() : end + 1;
    }
    return result;
}

/// EINVAL: fsync(2) says it of what cannot be synchronised, which is then as safe as it gets.
bool synced(int descriptor) { return fsync(descriptor) == 0 || errno == EINVAL; }

/// True once @p content stands on the disk.
bool writeThrough(QFile& file, const QByteArray& content)
{
    return file.write(content) == content.size() && file.flush() && synced(file.handle());
}

/// A new file is safe only when its directory's entry is. A directory that cannot be read is left to itself.
bool syncDirectoryOf(const QString& path)
{
    const QByteArray directory = QFile::encodeName(QFileInfo(path).path());
    const int descriptor = open(directory.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) {
        return true;
    }
    const bool done = synced(descriptor);
    close(descriptor);
    return done;
}

/// False, and no copy, where it cannot be written. A file in its place that cannot be opened stays.
bool writeCopy(const QString& path, const QByteArray& content)
{
    QFile copy(path);
    if (!copy.open(QIODevice::WriteOnly)) {
        return false;
    }
    if (writeThrough(copy, content) && syncDirectoryOf(path)) {
        return true;
    }
    // Not by the file itself, which first wants to write what is left.
    QFile::remove(path);
    return false;
}

enum eOutcome
{
    WRITTEN,
    UNTOUCHED,
    BROKEN_OFF
};

eOutcome putBack(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return UNTOUCHED;
    }
    return writeThrough(file, content) ? WRITTEN : BROKEN_OFF;
}

/// The longest copy, so that complete() takes each one that was written.
constexpr qint64 kMaxCopyBytes = 16 * kMaxLineFileBytes;

/// All that the file holds; nothing where it cannot be read to its end, or has none.
std::optional<QByteArray> contentOf(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    QByteArray content = readAtMost(file, kMaxCopyBytes + 1);
    const bool whole = file.error() == QFileDevice::NoError && content.size() <= kMaxCopyBytes;
    return whole ? std::make_optional(content) : std::nullopt;
}

} // namespace

namespace linerewrite {

bool rewrite(const QString& path, const cEdit& edit)
{
    if (!complete(path)) {
        return false;
    }
    const std::optional<QByteArray> content = contentOf(path);
    if (!content || content->size() > kMaxLineFileBytes) {
        return false;
    }
    const QByteArray result = edited(*content, edit);
    if (result.size() > kMaxCopyBytes || !writeCopy(copyOf(path), result)) {
        return false;
    }
    if (putBack(path, result) != BROKEN_OFF) {
        QFile::remove(copyOf(path));
    }
    return true;
}

bool complete(const QString& path)
{
    const std::optional<QByteArray> whole = contentOf(copyOf(path));
    const std::optional<QByteArray> part = contentOf(path);
    if (!whole || !part || part->size() >= whole->size() || !whole->startsWith(*part)) {
        return true;
    }
    return putBack(path, *whole) == WRITTEN && QFile::remove(copyOf(path));
}

} // namespace linerewrite

#include "readfile.h"

#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QSocketNotifier>
#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Returns false if the event loop was told to end first.
bool waitUntilReadable(int fd)
{
    constexpr int kReadable = 1;
    QEventLoop loop;
    const QSocketNotifier notifier(fd, QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &loop, [&loop] { loop.exit(kReadable); });
    return loop.exec() == kReadable;
}

} // namespace

std::optional<QByteArray> readFile(const QString& path, qint64 maxBytes)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        return std::nullopt;
    }
    const auto closer = qScopeGuard([fd] { ::close(fd); });
    struct stat status = {};
    const bool ready = fstat(fd, &status) == 0 && (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode));
    std::array<char, 16 * 1024> block{};
    QByteArray bytes;
    while (bytes.size() < maxBytes) {
        if (!ready && !waitUntilReadable(fd)) {
            return std::nullopt;
        }
        const qint64 room = std::min<qint64>(block.size(), maxBytes - bytes.size());
        const ssize_t count = ::read(fd, block.data(), static_cast<size_t>(room));
        if (count == 0) {
            break;
        }
        if (count > 0) {
            bytes.append(block.data(), static_cast<int>(count));
        } else if (errno != EAGAIN && errno != EINTR) {
            return std::nullopt;
        }
    }
    return bytes;
}

bool isReadableFile(const QString& path)
{
    const QFileInfo file(path);
    return file.isReadable() && !file.isDir();
}

#include "wfile/atomicfile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

WStatus failure(int error) { return WStatus::error("file", strerrordesc_np(error)); }

/// A new file in the directory of the one that it will replace; removed unless it was renamed.
class TempSibling
{
public:
    explicit TempSibling(const std::string& path)
    {
        constexpr int kMaxAttempts = 1000;
        const std::string prefix = path.substr(0, path.rfind('/') + 1) + ".zul-" + std::to_string(::getpid());
        for (int i = 0; i < kMaxAttempts; ++i) {
            mName = prefix + '-' + std::to_string(i);
            mFd = ::open(mName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            if (mFd >= 0 || errno != EEXIST) {
                break;
            }
        }
        mExists = mFd >= 0;
    }
    ~TempSibling()
    {
        if (mFd >= 0) {
            ::close(mFd);
        }
        if (mExists) {
            ::unlink(mName.c_str());
        }
    }
    TempSibling(const TempSibling&) = delete;
    TempSibling& operator=(const TempSibling&) = delete;

    bool isOpen() const { return mFd >= 0; }

    bool write(std::string_view content)
    {
        while (!content.empty()) {
            const ssize_t size = ::write(mFd, content.data(), content.size());
            if (size < 0 && errno != EINTR) {
                return false;
            }
            content.remove_prefix(size > 0 ? static_cast<size_t>(size) : 0);
        }
        return true;
    }

    /// False, with errno set, if the file at @p path stays as it was.
    bool replace(const std::string& path)
    {
        struct stat target = {};
        if (::stat(path.c_str(), &target) == 0) {
            // Only root may give a file away; without that right it becomes the caller's.
            [[maybe_unused]] const int ignored = ::fchown(mFd, target.st_uid, target.st_gid);
            if (::fchmod(mFd, target.st_mode & 0777) != 0) {
                return false;
            }
        }
        // EINVAL: this file system cannot synchronise.
        const bool synced = ::fsync(mFd) == 0 || errno == EINVAL;
        const bool closed = ::close(mFd) == 0;
        mFd = -1;
        if (!synced || !closed || std::rename(mName.c_str(), path.c_str()) != 0) {
            return false;
        }
        mExists = false;
        return true;
    }

private:
    std::string mName;
    int mFd = -1;
    bool mExists = false;
};

std::string withoutLinks(const std::string& path)
{
    std::error_code error;
    const std::filesystem::path found = std::filesystem::weakly_canonical(path, error);
    return error ? path : found.string();
}

} // namespace

cAtomicFile::cAtomicFile(const std::string& path) : mPath(path.empty() ? path : withoutLinks(path)) {}

/// An error unless the path is free or names a regular file that may be written.
WStatus cAtomicFile::checkTarget() const
{
    struct stat found = {};
    if (mPath.empty()) {
        return failure(ENOENT);
    }
    if (::stat(mPath.c_str(), &found) != 0) {
        return errno == ENOENT ? WStatus::ok() : failure(errno);
    }
    if (S_ISDIR(found.st_mode)) {
        return failure(EISDIR);
    }
    if (!S_ISREG(found.st_mode)) {
        return WStatus::error("file", "Is no regular file");
    }
    return ::eaccess(mPath.c_str(), W_OK) == 0 ? WStatus::ok() : failure(errno);
}

WStatus cAtomicFile::check() const
{
    const WStatus target = checkTarget();
    if (!target.isOk()) {
        return target;
    }
    return TempSibling(mPath).isOpen() ? WStatus::ok() : failure(errno);
}

WStatus cAtomicFile::write(std::string_view content) const
{
    const WStatus target = checkTarget();
    if (!target.isOk()) {
        return target;
    }
    TempSibling file(mPath);
    return file.isOpen() && file.write(content) && file.replace(mPath) ? WStatus::ok() : failure(errno);
}

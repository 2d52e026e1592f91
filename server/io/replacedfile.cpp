#include "server/io/replacedfile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace server {

namespace {

/// A new file beside the one that it will replace; gone again unless it was renamed.
class TempSibling
{
public:
    explicit TempSibling(const std::string& path) : mName(path + ".XXXXXX"), mFd(::mkstemp(mName.data())) {}
    ~TempSibling()
    {
        if (mFd >= 0) {
            ::close(mFd);
        }
        if (isOpen() && !mRenamed) {
            ::unlink(mName.c_str());
        }
    }
    TempSibling(const TempSibling&) = delete;
    TempSibling& operator=(const TempSibling&) = delete;

    bool isOpen() const { return mMade; }

    bool write(const std::string& content)
    {
        size_t written = 0;
        while (written < content.size()) {
            const ssize_t size = ::write(mFd, content.data() + written, content.size() - written);
            if (size < 0 && errno != EINTR) {
                return false;
            }
            written += size > 0 ? static_cast<size_t>(size) : 0;
        }
        return true;
    }

    /// With the rights that any new file gets.
    bool rename(const std::string& path)
    {
        const mode_t mask = ::umask(0);
        ::umask(mask);
        const bool sound = ::fchmod(mFd, 0666 & ~mask) == 0 && ::fsync(mFd) == 0;
        const bool closed = ::close(mFd) == 0;
        mFd = -1;
        mRenamed = sound && closed && std::rename(mName.c_str(), path.c_str()) == 0;
        return mRenamed;
    }

private:
    std::string mName;
    int mFd;
    bool mMade = mFd >= 0;
    bool mRenamed = false;
};

std::string reason() { return std::strerror(errno); }

/// @p path, or the file that it leads to, which need not exist.
std::string behindLinks(const std::string& path)
{
    std::error_code error;
    const std::filesystem::path found = std::filesystem::weakly_canonical(path, error);
    return error ? path : found.string();
}

} // namespace

std::string ReplacedFile::open(const std::string& path)
{
    if (path.empty()) {
        return std::strerror(ENOENT);
    }
    mPath = behindLinks(path);
    struct stat found = {};
    if (::stat(mPath.c_str(), &found) == 0 && !S_ISREG(found.st_mode)) {
        return S_ISDIR(found.st_mode) ? "Is a directory" : "Is no regular file";
    }
    return TempSibling(mPath).isOpen() ? std::string() : reason();
}

std::string ReplacedFile::write(const std::string& content)
{
    TempSibling file(mPath);
    mWritten = file.isOpen() && file.write(content) && file.rename(mPath);
    return mWritten ? std::string() : reason();
}

void ReplacedFile::remove()
{
    if (std::exchange(mWritten, false)) {
        ::unlink(mPath.c_str());
    }
}

} // namespace server

#include "zulcommand/controlpath.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

/// A descriptor that is closed unless it is released.
class Descriptor
{
public:
    explicit Descriptor(int fd) : mFd(fd) {}
    ~Descriptor()
    {
        if (mFd >= 0) {
            ::close(mFd);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return mFd; }
    int release() { return std::exchange(mFd, -1); }

private:
    int mFd;
};

Descriptor streamSocket()
{
    return Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

bool connects(const sockaddr_un& address)
{
    const Descriptor probe = streamSocket();
    // A living one whose queue is full answers too: EAGAIN.
    return ::connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ||
           errno == EAGAIN;
}

/// Binds @p fd. Removes a socket at the path first if no program listens at it. Returns the problem, or an
/// empty text.
std::string bindTo(int fd, const sockaddr_un& address)
{
    const auto bind = [&] {
        return ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
    };
    int error = bind();
    struct stat status = {};
    if (error == EADDRINUSE && ::lstat(address.sun_path, &status) == 0) {
        if (!S_ISSOCK(status.st_mode)) {
            return "a file that is no socket is there";
        }
        if (connects(address)) {
            return "another program listens there";
        }
        ::unlink(address.sun_path);
        error = bind();
    }
    return error == 0 ? "" : std::generic_category().message(error);
}

} // namespace

std::string cControlPath::make(const std::string& path)
{
    const auto fail = [&](const std::string& reason) {
        return "the control socket '" + path + "' could not be made: " + reason;
    };
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        return fail(path.empty() ? "the path is empty"
                                 : "the path is longer than " + std::to_string(sizeof address.sun_path - 1) +
                                       " bytes");
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    Descriptor socket = streamSocket();
    if (socket.get() < 0) {
        return fail(std::generic_category().message(errno));
    }
    if (const std::string wrong = bindTo(socket.get(), address); !wrong.empty()) {
        return fail(wrong);
    }
    // The kernel refuses clients before listen(), so no client connects with another mode.
    if (::chmod(address.sun_path, S_IRUSR | S_IWUSR) != 0) {
        const std::string reason = std::generic_category().message(errno);
        ::unlink(address.sun_path);
        return fail(reason);
    }
    mFd = socket.release();
    mPath = path;
    struct stat status = {};
    if (::lstat(mPath.c_str(), &status) == 0) {
        mDevice = status.st_dev;
        mInode = status.st_ino;
    }
    return "";
}

cControlPath::~cControlPath()
{
    struct stat status = {};
    if (!mPath.empty() && ::lstat(mPath.c_str(), &status) == 0 && status.st_dev == mDevice &&
        status.st_ino == mInode) {
        ::unlink(mPath.c_str());
    }
    if (mFd >= 0) {
        ::close(mFd);
    }
}

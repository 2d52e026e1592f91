#pragma once

#include <string>
#include <sys/types.h>

/// A Unix stream socket at a path, which is removed at its end unless another has taken its place.
class cControlPath
{
public:
    cControlPath() = default;
    ~cControlPath();
    cControlPath(const cControlPath&) = delete;
    cControlPath& operator=(const cControlPath&) = delete;

    /// Makes the socket, for its owner alone (mode 0600); clients are refused until listen(2). Replaces a
    /// socket if no program listens at it. Returns one sentence without its end on failure, else an empty
    /// text.
    std::string make(const std::string& path);

    /// The listening descriptor, which does not block; -1 before make(). release() hands it over to the
    /// caller.
    int fd() const { return mFd; }
    void release() { mFd = -1; }

private:
    int mFd = -1;
    std::string mPath;
    dev_t mDevice = 0; ///< with mInode: which file the socket is
    ino_t mInode = 0;
};

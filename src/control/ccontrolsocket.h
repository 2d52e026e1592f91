#pragma once

#include <QSocketNotifier>
#include <QTimer>
#include <functional>
#include <memory>
#include <string>
#include <sys/types.h>

/// A Unix stream socket that listens at a path.
class cControlSocket
{
public:
    /// Makes the socket at @p path, for its owner alone (mode 0600). Replaces a socket if no program listens
    /// at it. Returns null on failure, with one sentence in @p *problem.
    static std::unique_ptr<cControlSocket> make(const std::string& path, std::string* problem);

    /// Takes clients from now on; until then they are refused. Returns false if the system refuses it.
    bool listen();

    /// Removes the socket, unless another has taken its path.
    ~cControlSocket();
    cControlSocket(const cControlSocket&) = delete;
    cControlSocket& operator=(const cControlSocket&) = delete;

    /// Called with the descriptor of each client, which does not block and belongs to the callee.
    std::function<void(int fd)> onClient;

private:
    cControlSocket(int fd, std::string path);
    void accept();

    const int mFd;
    const std::string mPath;
    dev_t mDevice = 0; ///< with mInode: which file the socket is
    ino_t mInode = 0;
    QSocketNotifier mReadable;
    QTimer mRetry; ///< runs while the system has no descriptor for a client
};

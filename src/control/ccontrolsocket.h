#pragma once

#include <QSocketNotifier>
#include <QTimer>
#include <functional>
#include <memory>
#include <string>

#include "zulcommand/controlpath.h"

/// A Unix stream socket that listens at a path.
class cControlSocket
{
public:
    /// Makes the socket at @p path. Returns null on failure, with one sentence in @p *problem.
    static std::unique_ptr<cControlSocket> make(const std::string& path, std::string* problem);

    /// Takes clients from now on; until then they are refused. Returns false if the system refuses it.
    bool listen();

    ~cControlSocket();
    cControlSocket(const cControlSocket&) = delete;
    cControlSocket& operator=(const cControlSocket&) = delete;

    /// Called with the descriptor of each client, which does not block and belongs to the callee.
    std::function<void(int fd)> onClient;

private:
    explicit cControlSocket(std::unique_ptr<cControlPath> socket);
    void accept();

    const std::unique_ptr<cControlPath> mSocket;
    QSocketNotifier mReadable;
    QTimer mRetry; ///< runs while the system has no descriptor for a client
};

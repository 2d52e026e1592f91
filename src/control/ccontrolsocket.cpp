#include "ccontrolsocket.h"

#include <cerrno>
#include <sys/socket.h>
#include <utility>

namespace {

constexpr int kRetryMs = 100;

} // namespace

std::unique_ptr<cControlSocket> cControlSocket::make(const std::string& path, std::string* problem)
{
    auto socket = std::make_unique<cControlPath>();
    *problem = socket->make(path);
    return problem->empty() ? std::unique_ptr<cControlSocket>(new cControlSocket(std::move(socket)))
                            : nullptr;
}

cControlSocket::cControlSocket(std::unique_ptr<cControlPath> socket)
    : mSocket(std::move(socket)), mReadable(mSocket->fd(), QSocketNotifier::Read)
{
    mRetry.setSingleShot(true);
    mReadable.setEnabled(false);
    QObject::connect(&mReadable, &QSocketNotifier::activated, [this] { accept(); });
    QObject::connect(&mRetry, &QTimer::timeout, [this] { mReadable.setEnabled(true); });
}

bool cControlSocket::listen()
{
    mReadable.setEnabled(::listen(mSocket->fd(), SOMAXCONN) == 0);
    return mReadable.isEnabled();
}

cControlSocket::~cControlSocket() { mReadable.setEnabled(false); }

void cControlSocket::accept()
{
    const int client = ::accept4(mSocket->fd(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (client >= 0) {
        onClient(client);
    } else if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
        // The client stays readable; try again when others may have gone.
        mReadable.setEnabled(false);
        mRetry.start(kRetryMs);
    }
}

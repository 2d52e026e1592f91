#include "zullink/linksocket.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "zullink/linkclock.h"

namespace {

/// Waits for the end of the attempt to connect @p fd. Returns 0 or an errno.
int waitForConnect(int fd, int64_t deadlineMs, int wakeFd)
{
    pollfd waits[] = {{fd, POLLOUT, 0}, {wakeFd, POLLIN, 0}};
    int ready = 0;
    do {
        ready = poll(waits, 2, static_cast<int>(std::max<int64_t>(deadlineMs - linkNowMs(), 0)));
    } while (ready < 0 && errno == EINTR);
    if (ready <= 0 || waits[1].revents != 0) {
        return ETIMEDOUT;
    }
    int error = 0;
    socklen_t size = sizeof error;
    return getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

/// Returns 0 or an errno.
int connectSocket(int fd, const sLinkAddress& address, int64_t deadlineMs, int wakeFd)
{
    // Messages are small and each one counts: no waiting for more (tcp(7)).
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    int error = 0;
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address.storage), address.size) != 0) {
        error = errno == EINPROGRESS || errno == EINTR ? waitForConnect(fd, deadlineMs, wakeFd) : errno;
    }
    return error == 0 && cLinkSocket::isSelfConnected(fd) ? ECONNREFUSED : error;
}

bool isReadable(int fd)
{
    pollfd wait{fd, POLLIN, 0};
    return poll(&wait, 1, 0) > 0;
}

} // namespace

WStatus cLinkSocket::connectTo(const std::vector<sLinkAddress>& addresses, int timeoutMs, int wakeFd,
                               std::shared_ptr<cLinkSocket>* link)
{
    WStatus status = WStatus::error("server", "the name has no address");
    const int64_t deadlineMs = linkNowMs() + timeoutMs;
    auto untried = static_cast<int64_t>(addresses.size());
    for (const sLinkAddress& address : addresses) {
        const int fd = socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        int error = errno;
        if (fd >= 0) {
            auto connecting = std::make_shared<cLinkSocket>(fd);
            const int64_t nowMs = linkNowMs();
            const int64_t shareMs = std::max<int64_t>(deadlineMs - nowMs, 1) / untried + 1;
            error = connectSocket(fd, address, nowMs + shareMs, wakeFd);
            if (error == 0) {
                *link = std::move(connecting);
                return WStatus::ok();
            }
        }
        status = WStatus::error("server", strerrordesc_np(error));
        if (isReadable(wakeFd)) {
            break;
        }
        --untried;
    }
    return status;
}

cLinkSocket::~cLinkSocket() { close(mFd); }

void cLinkSocket::recordTo(std::shared_ptr<cCaptureFile> file, cCapturedLink::eRole role)
{
    mRecord = cCapturedLink::of(std::move(file), mFd, role);
}

bool cLinkSocket::receive(LinkSession* session, int64_t nowMs, const MessageHandler& onMessage)
{
    std::array<uint8_t, 16384> buffer; // on the stack, so that idle connections hold no buffer
    const ssize_t size = recv(mFd, buffer.data(), buffer.size(), 0);
    if (size <= 0) {
        mayGoOn(session, size == 0 ? 0 : errno);
        return false;
    }
    std::span<const uint8_t> bytes(buffer.data(), static_cast<size_t>(size));
    if (mRecord) {
        mRecord->received(bytes);
    }
    LinkSession::Received received;
    while (session->read(&bytes, nowMs, &received)) {
        if (received.handler) {
            received.handler(&received.message);
        } else {
            onMessage(std::exchange(received, {}));
        }
    }
    return true;
}

bool cLinkSocket::flush(LinkSession* session, int64_t nowMs)
{
    std::span<const uint8_t> bytes;
    const auto send = [this, &bytes] { return ::send(mFd, bytes.data(), bytes.size(), MSG_NOSIGNAL); };
    while (!(bytes = session->output(nowMs)).empty()) {
        const ssize_t size = mRecord ? mRecord->sending(bytes.data(), send) : send();
        if (size >= 0) {
            session->written(static_cast<size_t>(size), nowMs);
        } else if (errno != EINTR) {
            return !mayGoOn(session, errno);
        }
    }
    return true;
}

/// @p error is an errno, or 0 if the peer has closed the connection. If it will not pass, gives @p session
/// up.
bool cLinkSocket::mayGoOn(LinkSession* session, int error)
{
    if (error == EAGAIN || error == EWOULDBLOCK || error == EINTR) {
        return true;
    }
    if (mRecord) {
        error == 0 ? mRecord->peerClosed() : mRecord->peerReset();
    }
    session->abandon(error == 0 ? "the peer closed the connection" : strerrordesc_np(error));
    mClosed = true;
    return false;
}

void cLinkSocket::endWriting() { ::shutdown(mFd, SHUT_WR); }

void cLinkSocket::shutDown()
{
    ::shutdown(mFd, SHUT_RDWR);
    if (mRecord) {
        mRecord->closed();
    }
}

bool cLinkSocket::isSelfConnected(int fd)
{
    sockaddr_storage own{};
    sockaddr_storage peer{};
    socklen_t ownSize = sizeof own;
    socklen_t peerSize = sizeof peer;
    return getsockname(fd, reinterpret_cast<sockaddr*>(&own), &ownSize) == 0 &&
           getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &peerSize) == 0 && ownSize == peerSize &&
           std::memcmp(&own, &peer, ownSize) == 0;
}

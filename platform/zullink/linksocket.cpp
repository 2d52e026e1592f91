#include "zullink/linksocket.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "zullink/linkclock.h"

namespace {

bool isTransient(int error) { return error == EAGAIN || error == EWOULDBLOCK || error == EINTR; }

void setProblem(std::string* problem, int error) { *problem = strerrordesc_np(error); }

/// How the connection attempt on @p fd came out: 0 or an errno.
int connectError(int fd)
{
    int error = 0;
    socklen_t size = sizeof error;
    return getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

/// True when the attempt on @p fd came to an end, good or bad, in time.
bool waitForConnect(int fd, int timeoutMs, int wakeFd)
{
    const int64_t deadline = linkNowMs() + timeoutMs;
    pollfd waits[] = {{fd, POLLOUT, 0}, {wakeFd, POLLIN, 0}};
    int ready = -1;
    for (int64_t left = timeoutMs; ready < 0 && left >= 0; left = deadline - linkNowMs()) {
        ready = poll(waits, 2, static_cast<int>(left));
        if (ready < 0 && errno != EINTR) {
            return false;
        }
    }
    return ready > 0 && waits[1].revents == 0 && waits[0].revents != 0;
}

bool isReadable(int fd)
{
    pollfd wait{fd, POLLIN, 0};
    return poll(&wait, 1, 0) > 0;
}

} // namespace

std::shared_ptr<cLinkSocket> cLinkSocket::connectTo(const sLinkAddress& address, int timeoutMs, int wakeFd,
                                                    std::string* problem)
{
    const int fd = socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        setProblem(problem, errno);
        return nullptr;
    }
    auto link = std::make_shared<cLinkSocket>(fd);
    // Messages are small and each one counts: no waiting for more (tcp(7)).
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);

    int error = 0;
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address.storage), address.size) != 0) {
        error = errno;
        if (error == EINPROGRESS || error == EINTR) {
            error = waitForConnect(fd, timeoutMs, wakeFd) ? connectError(fd) : ETIMEDOUT;
        }
    }
    if (error == 0 && link->isSelfConnected()) {
        error = ECONNREFUSED;
    }
    if (error != 0) {
        setProblem(problem, error);
        return nullptr;
    }
    return link;
}

std::shared_ptr<cLinkSocket> cLinkSocket::connectToAny(const std::vector<sLinkAddress>& addresses,
                                                       int timeoutMs, int wakeFd, std::string* problem)
{
    const int64_t deadline = linkNowMs() + timeoutMs;
    size_t untried = addresses.size();
    for (const sLinkAddress& address : addresses) {
        const int64_t left = std::max<int64_t>(deadline - linkNowMs(), 1);
        const int share = static_cast<int>(left / static_cast<int64_t>(untried--)) + 1;
        std::shared_ptr<cLinkSocket> socket = connectTo(address, share, wakeFd, problem);
        if (socket || isReadable(wakeFd)) {
            return socket;
        }
    }
    return nullptr;
}

cLinkSocket::~cLinkSocket() { close(mFd); }

void cLinkSocket::recordTo(std::shared_ptr<cCaptureFile> file)
{
    mRecord = cCapturedLink::of(std::move(file), mFd, cCapturedLink::CONNECTED);
}

cLinkSocket::eOutcome cLinkSocket::receive(uint8_t* buffer, size_t size, size_t* received)
{
    const ssize_t count = recv(mFd, buffer, size, 0);
    if (count > 0) {
        *received = static_cast<size_t>(count);
        if (mRecord) {
            mRecord->received(buffer, *received);
        }
        return DONE;
    }
    if (count < 0 && isTransient(errno)) {
        return NOTHING;
    }
    recordEnd(count == 0);
    return CLOSED;
}

void cLinkSocket::recordEnd(bool orderly)
{
    if (mRecord) {
        orderly ? mRecord->peerClosed() : mRecord->peerReset();
    }
}

ssize_t cLinkSocket::sendRecorded(const uint8_t* bytes, size_t size)
{
    return mRecord->sending(bytes, [this, bytes, size] { return ::send(mFd, bytes, size, MSG_NOSIGNAL); });
}

cLinkSocket::eOutcome cLinkSocket::sendSome(const uint8_t* bytes, size_t size, size_t* sent)
{
    for (;;) {
        const ssize_t count = mRecord ? sendRecorded(bytes, size) : ::send(mFd, bytes, size, MSG_NOSIGNAL);
        if (count > 0) {
            *sent = static_cast<size_t>(count);
            return DONE;
        }
        if (errno != EINTR) {
            return isTransient(errno) ? NOTHING : CLOSED;
        }
    }
}

void cLinkSocket::shutDown()
{
    ::shutdown(mFd, SHUT_RDWR);
    if (mRecord) {
        mRecord->closed();
    }
}

bool cLinkSocket::isSelfConnected() const
{
    sockaddr_storage own{};
    sockaddr_storage peer{};
    socklen_t ownSize = sizeof own;
    socklen_t peerSize = sizeof peer;
    return getsockname(mFd, reinterpret_cast<sockaddr*>(&own), &ownSize) == 0 &&
           getpeername(mFd, reinterpret_cast<sockaddr*>(&peer), &peerSize) == 0 && ownSize == peerSize &&
           std::memcmp(&own, &peer, ownSize) == 0;
}

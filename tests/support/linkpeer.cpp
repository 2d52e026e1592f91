#include "linkpeer.h"

#include <algorithm>
#include <cerrno>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "zullink/linkclock.h"

namespace {

constexpr int kWaitMs = 20000;

sockaddr_in loopback(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int boundSocket(int receiveBuffer)
{
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (receiveBuffer > 0) {
        setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    }
    const sockaddr_in address = loopback(0);
    bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    return fd;
}

int portOf(int fd)
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

bool readable(int fd)
{
    pollfd wait{fd, POLLIN, 0};
    return poll(&wait, 1, kWaitMs) > 0;
}

PeerConnection acceptOn(int fd)
{
    if (!readable(fd)) {
        return PeerConnection();
    }
    return PeerConnection(accept4(fd, nullptr, nullptr, SOCK_CLOEXEC));
}

} // namespace

PeerConnection::PeerConnection(PeerConnection&& other) noexcept
    : mFd(std::exchange(other.mFd, -1)), mReader(other.mReader), mUnread(std::move(other.mUnread))
{}

PeerConnection& PeerConnection::operator=(PeerConnection&& other) noexcept
{
    close();
    mFd = std::exchange(other.mFd, -1);
    mReader = other.mReader;
    mUnread = std::move(other.mUnread);
    return *this;
}

PeerConnection PeerConnection::connectTo(int port)
{
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(port);
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return PeerConnection();
    }
    return PeerConnection(fd);
}

int PeerConnection::port() const { return portOf(mFd); }

bool PeerConnection::waitForBytes(int timeoutMs) const
{
    pollfd wait{mFd, POLLIN, 0};
    return poll(&wait, 1, timeoutMs) > 0;
}

bool PeerConnection::send(const std::vector<uint8_t>& bytes)
{
    size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count = ::send(mFd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        sent += static_cast<size_t>(count);
    }
    return true;
}

bool PeerConnection::send(const WMsg& message)
{
    std::vector<uint8_t> bytes;
    message.appendFrames(bytes);
    return send(bytes);
}

size_t PeerConnection::sendWithoutWaiting(const std::vector<uint8_t>& bytes)
{
    pollfd wait{mFd, POLLOUT, 0};
    const bool room = poll(&wait, 1, 1000) > 0;
    const ssize_t count = room ? ::send(mFd, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT) : 0;
    return static_cast<size_t>(std::max<ssize_t>(count, 0));
}

bool PeerConnection::receive(WMsg* message)
{
    while (receiveAny(message)) {
        if (!message->control) {
            return true;
        }
        if (!message->answer) {
            send(WMsg::ping(true));
        }
    }
    return false;
}

bool PeerConnection::receiveAny(WMsg* message)
{
    for (;;) {
        const uint8_t* data = mUnread.data();
        size_t left = mUnread.size();
        const WMsgReader::eResult result = mReader.read(&data, &left, linkNowMs(), message);
        mUnread.erase(mUnread.begin(), mUnread.end() - static_cast<std::ptrdiff_t>(left));
        if (result != WMsgReader::MORE) {
            return result == WMsgReader::MESSAGE;
        }
        uint8_t buffer[4096];
        const ssize_t count = readable(mFd) ? recv(mFd, buffer, sizeof buffer, 0) : -1;
        if (count <= 0) {
            return false;
        }
        mUnread.assign(buffer, buffer + count);
    }
}

void PeerConnection::finishSending() { shutdown(mFd, SHUT_WR); }

std::vector<uint8_t> PeerConnection::receiveRest()
{
    std::vector<uint8_t> all = std::exchange(mUnread, {});
    uint8_t buffer[4096];
    while (readable(mFd)) {
        const ssize_t count = recv(mFd, buffer, sizeof buffer, 0);
        if (count <= 0) {
            break;
        }
        all.insert(all.end(), buffer, buffer + count);
    }
    return all;
}

std::vector<uint8_t> PeerConnection::receivePiece()
{
    std::vector<uint8_t> piece(256 * 1024);
    const ssize_t count = readable(mFd) ? recv(mFd, piece.data(), piece.size(), 0) : -1;
    piece.resize(static_cast<size_t>(std::max<ssize_t>(count, 0)));
    return piece;
}

bool PeerConnection::waitForReset()
{
    ssize_t count = 1;
    for (uint8_t buffer[4096]; count > 0;) {
        errno = 0;
        count = readable(mFd) ? recv(mFd, buffer, sizeof buffer, 0) : -1;
    }
    return count < 0 && errno == ECONNRESET;
}

void PeerConnection::reset()
{
    const linger now{1, 0};
    setsockopt(mFd, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    close();
}

bool PeerConnection::waitForEnd()
{
    uint8_t buffer[4096];
    while (readable(mFd)) {
        if (recv(mFd, buffer, sizeof buffer, 0) <= 0) {
            return true;
        }
    }
    return false;
}

void PeerConnection::close()
{
    if (mFd >= 0) {
        ::close(mFd);
        mFd = -1;
    }
}

LinkPeer::LinkPeer(int receiveBuffer) : mFd(boundSocket(receiveBuffer))
{
    listen(mFd, SOMAXCONN);
    mPort = portOf(mFd);
}

PeerConnection LinkPeer::accept() { return acceptOn(mFd); }

void LinkPeer::stopListening()
{
    if (mFd >= 0) {
        close(mFd);
        mFd = -1;
    }
}

ClosedPort::ClosedPort() : mFd(boundSocket(0)), mPort(portOf(mFd)) {}
ClosedPort::~ClosedPort() { close(mFd); }
void ClosedPort::listen() { ::listen(mFd, 16); }
PeerConnection ClosedPort::accept() { return acceptOn(mFd); }

FullPort::FullPort() : mFd(boundSocket(0)), mPort(portOf(mFd))
{
    listen(mFd, 0);
    const sockaddr_in address = loopback(mPort);
    // The first attempt fills the backlog; one that is still under way later shows that it is full.
    for (bool full = false; !full;) {
        const int fd = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        pollfd wait{fd, POLLOUT, 0};
        full = poll(&wait, 1, 200) == 0;
        mWaiting.push_back(fd);
    }
}

FullPort::~FullPort()
{
    for (const int fd : mWaiting) {
        close(fd);
    }
    close(mFd);
}

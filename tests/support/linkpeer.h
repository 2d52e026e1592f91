#pragma once

#include <cstdint>
#include <vector>

#include "wmsg/wmsg.h"
#include "wmsg/wmsgreader.h"

/// The peer's end of one connection, in plain bytes and in messages.
///
/// Every wait gives up after 20 seconds, so that a test fails instead of hanging.
class PeerConnection
{
public:
    explicit PeerConnection(int fd = -1) : mFd(fd) {}
    ~PeerConnection() { close(); }
    PeerConnection(PeerConnection&& other) noexcept;
    PeerConnection& operator=(PeerConnection&& other) noexcept;

    /// Connects to @p port of the loopback address; not open if that fails.
    static PeerConnection connectTo(int port);

    bool isOpen() const { return mFd >= 0; }

    /// The port of this end.
    int port() const;

    /// True when there is something to receive, or the end, within @p timeoutMs.
    bool waitForBytes(int timeoutMs) const;
    bool send(const std::vector<uint8_t>& bytes);
    bool send(const WMsg& message);

    /// Sends what the system takes within a second and returns how much that is; 0 if it takes nothing.
    size_t sendWithoutWaiting(const std::vector<uint8_t>& bytes);

    /// The next message that is not a ping. Pings are answered on the way. False when the connection ends.
    bool receive(WMsg* message);

    /// The next message, whatever it is; nothing is answered.
    bool receiveAny(WMsg* message);

    /// Ends this side's half of the connection.
    void finishSending();

    /// All bytes until the other side closes.
    std::vector<uint8_t> receiveRest();

    /// What a single read gives; nothing at the end.
    std::vector<uint8_t> receivePiece();

    /// True once the other side has closed, whatever it sent before.
    bool waitForEnd();

    /// True once the other side has reset the connection, whatever it sent before.
    bool waitForReset();

    void close();

    /// Closes with a reset.
    void reset();

private:
    int mFd;
    WMsgReader mReader;
    std::vector<uint8_t> mUnread;
};

/// A listening socket on a free port of the loopback address.
class LinkPeer
{
public:
    /// With @p receiveBuffer above 0 its connections hold about so many unread bytes.
    explicit LinkPeer(int receiveBuffer = 0);
    ~LinkPeer() { stopListening(); }
    LinkPeer(const LinkPeer&) = delete;
    LinkPeer& operator=(const LinkPeer&) = delete;

    int port() const { return mPort; }

    /// The next connection; one that is not open after 20 seconds without any.
    PeerConnection accept();

    /// Further attempts to connect are refused.
    void stopListening();

private:
    int mFd;
    int mPort = 0;
};

/// A port of the loopback address on which nothing listens, kept from others while this object lives.
class ClosedPort
{
public:
    ClosedPort();
    ~ClosedPort();
    ClosedPort(const ClosedPort&) = delete;
    ClosedPort& operator=(const ClosedPort&) = delete;

    int port() const { return mPort; }

    /// Listens at the port from now on.
    void listen();
    PeerConnection accept();

private:
    int mFd;
    int mPort = 0;
};

/// A listening port whose backlog is full, so that further attempts to connect hang.
class FullPort
{
public:
    FullPort();
    ~FullPort();
    FullPort(const FullPort&) = delete;
    FullPort& operator=(const FullPort&) = delete;

    int port() const { return mPort; }

private:
    int mFd;
    int mPort = 0;
    std::vector<int> mWaiting;
};

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "wcapture/capturedlink.h"
#include "zullink/linksession.h"
#include "zullink/resolver.h"

/// One non-blocking TCP connection, closed when it is destroyed. No call waits, but connectTo().
class cLinkSocket
{
public:
    /// Tries one address after the other, until @p wakeFd is readable. Each gets an equal share of what is
    /// left of @p timeoutMs, so that one that does not answer leaves time for the next. On failure @p *link
    /// stays as it is, and the status is that of the last address.
    static WStatus connectTo(const std::vector<sLinkAddress>& addresses, int timeoutMs, int wakeFd,
                             std::shared_ptr<cLinkSocket>* link);

    /// Takes over the connected descriptor @p fd.
    explicit cLinkSocket(int fd) : mFd(fd) {}
    ~cLinkSocket();
    cLinkSocket(const cLinkSocket&) = delete;
    cLinkSocket& operator=(const cLinkSocket&) = delete;

    /// Records in @p file, which may be null, what crosses the connection from now on.
    void recordTo(std::shared_ptr<cCaptureFile> file, cCapturedLink::eRole role);

    /// For poll(2) only.
    int fd() const { return mFd; }

    /// True once the peer, shutDown() or an error has ended the connection: then receive() or flush() has
    /// given the session up, with the reason.
    bool isClosed() const { return mClosed; }

    /// Gets the messages that are not an awaited answer.
    using MessageHandler = std::function<void(LinkSession::Received&&)>;

    /// Reads once, for @p session, and calls the handlers of the answers that have come. True if anything
    /// has.
    bool receive(LinkSession* session, int64_t nowMs, const MessageHandler& onMessage);

    /// Writes what @p session has to write. False if the rest must wait until more can be written.
    bool flush(LinkSession* session, int64_t nowMs);

    /// Nothing more is written: the peer sees the end behind all that was. Reading goes on.
    void endWriting();

    void shutDown();

    /// True when both ends are this very socket: an attempt to reach a port of this machine on which nobody
    /// listens may be given that port as its own, and then succeeds.
    static bool isSelfConnected(int fd);

private:
    bool mayGoOn(LinkSession* session, int error);

    const int mFd;
    std::unique_ptr<cCapturedLink> mRecord; ///< null while nothing is recorded
    bool mClosed = false;
};

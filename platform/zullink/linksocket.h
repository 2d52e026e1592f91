#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

#include "wcapture/capturedlink.h"
#include "zullink/resolver.h"

/// One non-blocking TCP connection, closed when it is destroyed.
///
/// One thread may receive while another one sends; any thread may call shutDown(), which ends both.
class cLinkSocket
{
public:
    /// Connects, waiting at most @p timeoutMs and no longer than until @p wakeFd is readable. Null on
    /// failure, with one sentence in @p *problem.
    static std::shared_ptr<cLinkSocket> connectTo(const sLinkAddress& address, int timeoutMs, int wakeFd,
                                                  std::string* problem);

    /// Tries one address after the other. Each gets an equal share of what is left of @p timeoutMs, so that
    /// one that does not answer leaves time for the next.
    static std::shared_ptr<cLinkSocket> connectToAny(const std::vector<sLinkAddress>& addresses,
                                                     int timeoutMs, int wakeFd, std::string* problem);

    /// Takes over the connected descriptor @p fd.
    explicit cLinkSocket(int fd) : mFd(fd) {}
    ~cLinkSocket();
    cLinkSocket(const cLinkSocket&) = delete;
    cLinkSocket& operator=(const cLinkSocket&) = delete;

    /// Records in @p file, which may be null, what crosses the connection that this side has opened. Before a
    /// second thread knows the socket.
    void recordTo(std::shared_ptr<cCaptureFile> file);

    enum eOutcome
    {
        DONE,
        NOTHING, ///< it would have to wait
        CLOSED   ///< by the peer, by shutDown() or by an error
    };

    /// Readable when there is something to receive; good for poll(2) only.
    int fd() const { return mFd; }

    /// Reads what is there, up to @p size, without waiting. @p *received is the number of bytes when DONE.
    eOutcome receive(uint8_t* buffer, size_t size, size_t* received);

    /// Sends what fits without waiting; @p *sent is the number of bytes when DONE.
    eOutcome sendSome(const uint8_t* bytes, size_t size, size_t* sent);

    void shutDown();

    /// True when both ends are this very socket: an attempt to reach a port of this machine on which nobody
    /// listens may be given that port as its own, and then succeeds.
    bool isSelfConnected() const;

private:
    ssize_t sendRecorded(const uint8_t* bytes, size_t size);
    void recordEnd(bool orderly);

    int mFd;
    std::unique_ptr<cCapturedLink> mRecord; ///< null while nothing is recorded
};

#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <sys/types.h>
#include <vector>

#include "wcapture/capturefile.h"
#include "wcapture/tcppacket.h"

/// Records one TCP connection as packets that network tools can follow.
///
/// The payloads are the bytes that crossed the link, as the system took or gave them. The headers are made
/// up: real addresses and ports, sequence numbers that count the bytes, a handshake at the beginning and a
/// FIN or RST at the end. Any thread may call.
class cCapturedLink
{
public:
    enum eRole
    {
        CONNECTED, ///< this side opened the connection
        ACCEPTED
    };

    /// Records the connection of the socket @p fd from now on. Returns null if @p file is null or if the
    /// system does not tell the socket's addresses. The comments of @p notes stand on the first packet.
    static std::unique_ptr<cCapturedLink> of(std::shared_ptr<cCaptureFile> file, int fd, eRole role,
                                             pcapng::sPacketNotes notes = {});

    cCapturedLink(std::shared_ptr<cCaptureFile> file, const sEndpoint& own, const sEndpoint& peer, eRole role,
                  pcapng::sPacketNotes notes = {});

    /// Calls closed().
    ~cCapturedLink();
    cCapturedLink(const cCapturedLink&) = delete;
    cCapturedLink& operator=(const cCapturedLink&) = delete;

    /// Calls @p send, which sends from @p bytes and returns like send(2), and records what was taken. The
    /// lock is held meanwhile, so that no answer is recorded before its request.
    template <class Send>
    ssize_t sending(const uint8_t* bytes, Send send)
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        const ssize_t count = send();
        if (count > 0) {
            record(&mSent, {bytes, static_cast<size_t>(count)});
        }
        return count;
    }

    void received(std::span<const uint8_t> bytes);

    /// @p text stands on the next packet. While kMaxComments wait, no further one is taken.
    void comment(const std::string& text);
    static constexpr size_t kMaxComments = 1000;

    /// This side sends no more and reads no more.
    void closed();

    /// This side sends no more.
    void sendingEnded();

    /// This side resets the connection.
    void reset();

    /// The peer sends no more, or has reset the connection. Not recorded after closed().
    void peerClosed();
    void peerReset();

private:
    /// One direction of the connection.
    struct sLane
    {
        pcapng::eDirection direction;
        sEndpoint from;
        sEndpoint to;
        uint32_t next = 0; ///< sequence number of the next byte
        bool ended = false;
    };

    sLane& opposite(const sLane* lane) { return lane == &mSent ? mReceived : mSent; }
    void record(sLane* lane, std::span<const uint8_t> bytes);
    void end(sLane* lane, uint8_t flag);
    void write(sLane* lane, uint8_t flags, std::span<const uint8_t> bytes = {});

    const std::shared_ptr<cCaptureFile> mFile;
    std::mutex mMutex;

    // Guarded by mMutex.
    sLane mSent;
    sLane mReceived;
    bool mClosed = false;
    std::vector<uint8_t> mPacket;
    pcapng::sPacketNotes mNotes; ///< of the next packet
};

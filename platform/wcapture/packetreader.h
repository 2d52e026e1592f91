#pragma once

#include <istream>
#include <memory>

#include "wcapture/captureformat.h"

/// Reads the packets of a capture file in the order in which they stand in it, with bounded memory.
///
/// Understands pcapng of either byte order with any number of sections and interfaces, and pcap of either
/// byte order with microseconds or nanoseconds. Blocks that hold no packet are skipped.
class cPacketReader
{
public:
    /// @p stream is borrowed.
    explicit cPacketReader(std::istream* stream) : mStream(stream) {}

    /// Fills @p *packet if it returns PACKET; after anything else it returns the same again. BROKEN also says
    /// that the file is no capture file at all.
    cCaptureFormat::eResult next(sPacket* packet);

    /// What is wrong if next() returned BROKEN.
    const WStatus& status() const { return mFormat ? mFormat->status() : mStatus; }

    /// Where packets of the present section are recorded. Empty before the first packet.
    const std::vector<sCaptureInterface>& interfaces() const;

    /// The program that wrote the present section, with its version; empty if the file does not tell it.
    const std::string& program() const;

private:
    cCaptureFormat::eResult open();

    std::istream* const mStream;
    std::unique_ptr<cCaptureFormat> mFormat; ///< null before its first bytes are read
    WStatus mStatus = WStatus::ok();
    cCaptureFormat::eResult mLast = cCaptureFormat::PACKET;
};

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "wcapture/capturedpacket.h"
#include "wmsg/wstatus.h"

/// Reads the packets of a capture file of one format, behind the bytes that tell the format.
class cCaptureFormat
{
public:
    /// Longer packets, and longer blocks that hold one, are not read.
    static constexpr size_t kMaxPacket = 1024 * 1024;
    static constexpr size_t kMaxInterfaces = 4096;

    /// Bytes of a name or a comment; the rest is dropped.
    static constexpr size_t kMaxText = 255;
    static constexpr size_t kMaxComments = 1000; ///< on one packet

    enum eResult : uint8_t
    {
        PACKET,
        END,   ///< of the file
        CUT,   ///< the file ends within a packet or a block
        BROKEN ///< what comes is not of this format: see status()
    };

    virtual ~cCaptureFormat() = default;

    /// Fills @p *packet if it returns PACKET. Is not called again after it has returned anything else.
    virtual eResult next(sPacket* packet) = 0;

    const std::vector<sCaptureInterface>& interfaces() const { return mInterfaces; }
    const std::string& program() const { return mProgram; }
    const WStatus& status() const { return mStatus; }

protected:
    eResult broken(const char* field, const char* problem)
    {
        mStatus = WStatus::error(field, problem);
        return BROKEN;
    }

    std::vector<sCaptureInterface> mInterfaces;
    std::string mProgram;

private:
    WStatus mStatus = WStatus::ok();
};

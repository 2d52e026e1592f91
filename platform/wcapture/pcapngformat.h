#pragma once

#include <istream>
#include <memory>
#include <span>

#include "wcapture/blockreader.h"
#include "wcapture/captureformat.h"
#include "wcapture/pcapngtime.h"

/// Reads the packets of a pcapng file; pcapng.h shows how such a file is laid out.
class cPcapngFormat : public cCaptureFormat
{
public:
    /// Returns null if @p magic, the first four bytes of the file, belongs to another format.
    static std::unique_ptr<cPcapngFormat> of(std::istream* stream, std::span<const uint8_t> magic);

    eResult next(sPacket* packet) override;

private:
    explicit cPcapngFormat(std::istream* stream) : mReader(stream) {}

    bool findByteOrder(const uint8_t* magic);
    eResult readSection();
    eResult readBlock(uint32_t type, sPacket* packet);
    eResult readBody(size_t size, uint32_t length);
    eResult readEnd(uint32_t length);
    eResult takeInterface();
    eResult takePacket(uint32_t type, sPacket* packet);
    eResult takeSimplePacket(sPacket* packet);
    bool takeBytes(size_t offset, size_t size, sPacket* packet);
    template <class Take>
    bool forOptions(size_t offset, Take take) const;
    void takeComments(size_t offset, sPacket* packet) const;

    cBlockReader mReader;
    sByteOrder mOrder;
    bool mIsInSection = false;
    std::vector<pcapng::sClock> mClocks; ///< of the interfaces
    int64_t mLastNs = 0;

    std::vector<uint8_t> mHead;
    std::vector<uint8_t> mBody; ///< of the present block, between its two lengths
};

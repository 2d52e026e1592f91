#pragma once

// The older format of capture files, as the IETF draft "PCAP Capture File Format"
// (draft-ietf-opsawg-pcap) lays it out:
//
//   header   4  magic: the byte order, and whether times are in microseconds or nanoseconds
//            4  version, 2 and 4
//            8  unused
//            4  most bytes of a packet that are recorded
//            4  link type in the lower 16 bits
//   packet   4  seconds since 1970
//            4  microseconds or nanoseconds
//            4  recorded bytes, 4 bytes on the wire
//            n  the recorded bytes

#include <istream>
#include <memory>
#include <span>

#include "wcapture/blockreader.h"
#include "wcapture/captureformat.h"

/// Reads the packets of a pcap file.
class cPcapFormat : public cCaptureFormat
{
public:
    /// Returns null if @p magic, the first four bytes of the file, belongs to another format.
    static std::unique_ptr<cPcapFormat> of(std::istream* stream, std::span<const uint8_t> magic);

    eResult next(sPacket* packet) override;

private:
    cPcapFormat(std::istream* stream, sByteOrder order, bool isNanoseconds)
        : mReader(stream), mOrder(order), mNsPerUnit(isNanoseconds ? 1 : 1000)
    {}
    eResult readHeader();

    cBlockReader mReader;
    const sByteOrder mOrder;
    const uint32_t mNsPerUnit;
    std::vector<uint8_t> mHeader;
};

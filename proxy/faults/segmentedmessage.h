#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "proxy/faults/segmentheader.h"

namespace proxy {

/// A message that is being changed, segment by segment.
class SegmentedMessage
{
public:
    /// @p bytes are whole segments, at least one.
    explicit SegmentedMessage(std::vector<uint8_t> bytes);

    size_t segmentCount() const { return mBegins.size(); }
    std::span<uint8_t> segment(size_t number);
    std::span<uint8_t> lastSegment() { return segment(segmentCount() - 1); }

    /// The header of the first segment.
    SegmentHeader header() const { return SegmentHeader(mBytes.data()); }

    const std::vector<uint8_t>& bytes() const { return mBytes; }
    std::vector<uint8_t>& bytes() { return mBytes; }

    /// Gives every segment the checksum that it should have.
    void rightChecksums();

    /// Cuts @p payload into full segments with type, sequence number and flags of the first one.
    void replacePayload(std::span<const uint8_t> payload);

    /// Puts @p count segments without payload before the last one.
    void insertEmptySegments(uint32_t count);

private:
    std::vector<uint8_t> mBytes;
    std::vector<size_t> mBegins; ///< of each segment in mBytes
};

} // namespace proxy

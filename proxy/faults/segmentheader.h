#pragma once

#include <cstdint>
#include <span>

#include "wmsg/wbytes.h"
#include "wmsg/wmsg.h"

namespace proxy {

/// Reads the header of a segment where it stands; the bytes are borrowed, wmsg::kHeaderSize of them.
class SegmentHeader
{
public:
    static constexpr size_t kFlagsAt = 3;
    static constexpr size_t kTypeAt = 4;
    static constexpr size_t kSequenceAt = 5;
    static constexpr size_t kNumberAt = 6;
    static constexpr size_t kLengthAt = 8;
    static constexpr size_t kChecksumAt = 12;

    explicit SegmentHeader(const uint8_t* at) : mAt(at) {}

    uint8_t flags() const { return mAt[kFlagsAt]; }
    uint8_t type() const { return mAt[kTypeAt]; }
    uint8_t sequence() const { return mAt[kSequenceAt]; }
    uint16_t number() const { return wmsg::get16(mAt + kNumberAt); }
    uint32_t length() const { return wmsg::get32(mAt + kLengthAt); }
    uint32_t checksum() const { return wmsg::get32(mAt + kChecksumAt); }
    bool has(uint8_t flag) const { return (flags() & flag) != 0; }

private:
    const uint8_t* mAt;
};

/// The checksum that @p segment, header included, should have.
inline uint32_t rightChecksum(std::span<const uint8_t> segment)
{
    const uint64_t sum = wmsg::checksumAdd(0, segment.first(SegmentHeader::kChecksumAt));
    return wmsg::checksumFinish(wmsg::checksumAdd(sum, segment.subspan(wmsg::kHeaderSize)));
}

} // namespace proxy

#pragma once

// The rules of docs/protocol.md for segments once more, written as they are said and not as they run fast.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "wmsg/wmsg.h"

namespace model {

constexpr size_t kHeader = 16;
constexpr size_t kMaxPayload = 2032;
constexpr size_t kMaxMessageBytes = 1048576;
constexpr size_t kMaxSegments = 1024;
constexpr int64_t kMaxAgeMs = 30000;

inline uint32_t number(const uint8_t* bytes, size_t count)
{
    uint32_t value = 0;
    for (size_t i = 0; i < count; ++i) {
        value = value * 256 + bytes[i];
    }
    return value;
}

/// The checksum that belongs into @p segment: each carry is added back in at once. libFuzzer does not watch
/// its loop, which would take most of the time.
__attribute__((no_sanitize("coverage"))) inline uint32_t checksum(std::vector<uint8_t> segment)
{
    for (size_t i = 12; i < kHeader; ++i) {
        segment[i] = 0;
    }
    segment.resize((segment.size() + 3) / 4 * 4);
    uint32_t sum = 0;
    for (size_t at = 0; at < segment.size(); at += 4) {
        const uint32_t word =
            uint32_t(segment[at]) << 24 | segment[at + 1] << 16 | segment[at + 2] << 8 | segment[at + 3];
        sum += word;
        sum += sum < word ? 1 : 0;
    }
    return ~sum;
}

inline void putChecksum(uint8_t* segment, size_t size)
{
    const uint32_t sum = checksum({segment, segment + size});
    for (size_t i = 0; i < 4; ++i) {
        segment[12 + i] = static_cast<uint8_t>(sum >> (24 - 8 * i));
    }
}

/// Gives every whole segment that begins at the front of @p stream the checksum that belongs to it.
inline void putChecksums(std::vector<uint8_t>* stream)
{
    size_t at = 0;
    while (stream->size() - at >= kHeader) {
        const size_t length = number(stream->data() + at + 8, 4);
        if (length > kMaxPayload || length > stream->size() - at - kHeader) {
            return;
        }
        putChecksum(stream->data() + at, kHeader + length);
        at += kHeader + length;
    }
}

/// The header of one segment, read as the document's table says.
struct Header
{
    explicit Header(const uint8_t* bytes)
        : magic(number(bytes, 2)),
          version(bytes[2]),
          flags(bytes[3]),
          type(bytes[4]),
          seq(bytes[5]),
          segment(number(bytes + 6, 2)),
          length(number(bytes + 8, 4)),
          sum(number(bytes + 12, 4))
    {}

    bool control() const { return (flags & 0x04) != 0; }
    bool last() const { return (flags & 0x08) != 0; }

    /// True if no message at all may bear this header.
    bool broken() const
    {
        return magic != 0x5A57 || version != 1 || (flags & 0xF0) != 0 || length > kMaxPayload ||
               (control() && (!last() || segment != 0 || length != 0));
    }

    uint32_t magic;
    uint8_t version;
    uint8_t flags;
    uint8_t type;
    uint8_t seq;
    uint32_t segment;
    uint32_t length;
    uint32_t sum;
};

} // namespace model

inline bool operator==(const WMsg& a, const WMsg& b)
{
    return a.type == b.type && a.seq == b.seq && a.answer == b.answer && a.event == b.event &&
           a.control == b.control && a.payload == b.payload;
}

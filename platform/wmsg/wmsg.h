#pragma once

// A message travels as one or more segments. Each begins with this header, in network byte order:
//
//   offset  size  field
//        0     2  magic, 0x5A57 ("ZW")
//        2     1  protocol version, 1
//        3     1  flags: 0x01 answer, 0x02 event, 0x04 control, 0x08 last segment; the others are 0
//        4     1  message type
//        5     1  sequence number
//        6     2  segment number, from 0
//        8     4  payload length in bytes, 0 to 2032
//       12     4  checksum over the whole segment
//
// docs/protocol.md has the same table, with examples.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace wmsg {

constexpr uint16_t kMagic = 0x5A57;
constexpr uint8_t kVersion = 1;

constexpr uint8_t kFlagAnswer = 0x01;
constexpr uint8_t kFlagEvent = 0x02;
constexpr uint8_t kFlagControl = 0x04;
constexpr uint8_t kFlagLastSegment = 0x08;
constexpr uint8_t kFlagsKnown = 0x0F;

constexpr size_t kHeaderSize = 16;
constexpr size_t kMaxSegmentSize = 2048;
constexpr size_t kMaxSegmentPayload = kMaxSegmentSize - kHeaderSize;

/// What a receiver accepts, and so what a sender may send.
constexpr size_t kMaxMessageBytes = 1024 * 1024;
constexpr size_t kMaxSegments = 1024; ///< empty ones count
constexpr int64_t kMaxAgeMs = 30000;  ///< from a message's first byte to its last

/// The type of a ping and of its answer, which have the control flag.
constexpr uint8_t kControlPing = 0;

// The checksum is the complement of the ones' complement sum of the 32-bit words of the bytes, padded with
// zero bytes: the method of RFC 1071 with words twice as wide. Its own place counts as zero.

/// Adds the words of @p bytes to @p sum, that of the bytes before, a multiple of four; 0 at the beginning.
uint64_t checksumAdd(uint64_t sum, std::span<const uint8_t> bytes);
uint32_t checksumFinish(uint64_t sum);

} // namespace wmsg

/// One whole message of the link: its header fields and its payload.
struct WMsg
{
    uint8_t type = 0;
    uint8_t seq = 0;
    bool answer = false;
    bool event = false;
    bool control = false;
    std::vector<uint8_t> payload;

    /// A ping, or the answer to one.
    static WMsg ping(bool isAnswer);

    /// How many segments the message takes: at least one.
    size_t segmentCount() const;

    /// Appends segment number @p segment (below segmentCount()), header included, to @p bytes. Only the last
    /// segment has the last-segment flag; all others are full.
    void segmentMessage(size_t segment, std::vector<uint8_t>& bytes) const;

    /// Appends all segments to @p bytes.
    void appendFrames(std::vector<uint8_t>& bytes) const;
};

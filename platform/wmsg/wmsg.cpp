#include "wmsg/wmsg.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "wmsg/wbytes.h"

namespace {

/// Eight pairs of bytes, which the processor adds all at once.
using Pairs = uint16_t __attribute__((vector_size(16)));

constexpr size_t kBlock = sizeof(Pairs);

/// The maximum number of blocks whose bytes, all of them 255, a lane can sum without overflow.
constexpr size_t kMaxBlocks = 257;

/// The sum of the 32-bit words of at most kMaxBlocks blocks at @p data. The bytes of each place in their
/// words are added up by themselves, without a carry and in any byte order.
uint64_t sumOfBlocks(const uint8_t* data, size_t blocks)
{
    Pairs both{}; // a lane is both bytes as one number, modulo 65536
    Pairs high{}; // that byte of each lane which counts 256
#pragma GCC unroll 4
    for (; blocks > 0; --blocks, data += kBlock) {
        Pairs block;
        std::memcpy(&block, data, kBlock);
        both += block;
        high += block >> 8;
    }
    const Pairs low = both - (high << 8);
    constexpr bool kLittle = std::endian::native == std::endian::little;
    const Pairs& first = kLittle ? low : high;
    const Pairs& second = kLittle ? high : low;
    uint64_t sum = 0;
    for (size_t lane = 0; lane < kBlock / 2; lane += 2) {
        sum += (uint64_t{first[lane]} << 24) + (uint64_t{second[lane]} << 16) +
               (uint64_t{first[lane + 1]} << 8) + second[lane + 1];
    }
    return sum;
}

} // namespace

namespace wmsg {

uint64_t checksumAdd(uint64_t sum, std::span<const uint8_t> bytes)
{
    while (bytes.size() >= kBlock) {
        const size_t blocks = std::min(bytes.size() / kBlock, kMaxBlocks);
        sum += sumOfBlocks(bytes.data(), blocks); // 64 bits hold the words of 16 GiB
        bytes = bytes.subspan(blocks * kBlock);
    }
    for (; bytes.size() >= 4; bytes = bytes.subspan(4)) {
        sum += get32(bytes.data());
    }
    for (size_t i = 0; i < bytes.size(); ++i) {
        sum += uint64_t{bytes[i]} << (24 - 8 * i);
    }
    return sum;
}

uint32_t checksumFinish(uint64_t sum)
{
    sum = (sum & 0xFFFFFFFFU) + (sum >> 32);
    sum = (sum & 0xFFFFFFFFU) + (sum >> 32);
    return ~static_cast<uint32_t>(sum);
}

} // namespace wmsg

WMsg WMsg::ping(bool isAnswer)
{
    return {.type = wmsg::kControlPing, .answer = isAnswer, .control = true, .payload = {}};
}

size_t WMsg::segmentCount() const
{
    return payload.empty() ? 1 : (payload.size() + wmsg::kMaxSegmentPayload - 1) / wmsg::kMaxSegmentPayload;
}

void WMsg::segmentMessage(size_t segment, std::vector<uint8_t>& bytes) const
{
    const size_t offset = segment * wmsg::kMaxSegmentPayload;
    const size_t length = std::min(payload.size() - offset, wmsg::kMaxSegmentPayload);
    const auto part = std::span(payload).subspan(offset, length);
    const bool last = offset + length == payload.size();
    uint8_t header[wmsg::kHeaderSize] = {};
    wmsg::put16(header, wmsg::kMagic);
    header[2] = wmsg::kVersion;
    header[3] =
        static_cast<uint8_t>((answer ? wmsg::kFlagAnswer : 0) | (event ? wmsg::kFlagEvent : 0) |
                             (control ? wmsg::kFlagControl : 0) | (last ? wmsg::kFlagLastSegment : 0));
    header[4] = type;
    header[5] = seq;
    wmsg::put16(header + 6, static_cast<uint16_t>(segment));
    wmsg::put32(header + 8, static_cast<uint32_t>(length));
    wmsg::put32(header + 12, wmsg::checksumFinish(wmsg::checksumAdd(wmsg::checksumAdd(0, header), part)));
    bytes.insert(bytes.end(), std::begin(header), std::end(header));
    bytes.insert(bytes.end(), part.begin(), part.end());
}

void WMsg::appendFrames(std::vector<uint8_t>& bytes) const
{
    const size_t segments = segmentCount();
    const size_t size = bytes.size() + payload.size() + segments * wmsg::kHeaderSize;
    if (size > bytes.capacity()) {
        bytes.reserve(std::max(size, 2 * bytes.capacity())); // twice, so that many messages stay linear
    }
    for (size_t segment = 0; segment < segments; ++segment) {
        segmentMessage(segment, bytes);
    }
}

#include "wmsg/wmsg.h"

#include <algorithm>
#include <cstring>

#include "wmsg/wbytes.h"

namespace {

/// The ones' complement sum: what goes out at the top comes in at the bottom.
uint64_t addWithCarry(uint64_t sum, uint64_t word)
{
    sum += word;
    return sum + (sum < word ? 1 : 0);
}

/// Eight pairs of bytes, for the processor to add all at once.
using Pairs = uint16_t __attribute__((vector_size(16)));

constexpr size_t kBlock = sizeof(Pairs);

/// As many bytes of 255 add up to no more than a lane holds.
constexpr size_t kMaxBlocks = 257;

/// The bytes of each place in their words, added up by themselves: no carry, and no byte order.
class PlaceSums
{
public:
    /// Takes the block at @p data; kMaxBlocks at most.
    void add(const uint8_t* data)
    {
        Pairs block;
        std::memcpy(&block, data, kBlock);
        mBoth += block;
        mHigh += block >> 8;
    }

    /// The sum of the 32-bit words in network byte order.
    uint64_t words() const
    {
        const Pairs low = mBoth - (mHigh << 8);
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
        const Pairs& first = low;
        const Pairs& second = mHigh;
#else
        const Pairs& first = mHigh;
        const Pairs& second = low;
#endif
        uint64_t sum = 0;
        for (size_t lane = 0; lane < kBlock / 2; lane += 2) {
            sum += (uint64_t{first[lane]} << 24) + (uint64_t{second[lane]} << 16) +
                   (uint64_t{first[lane + 1]} << 8) + second[lane + 1];
        }
        return sum;
    }

private:
    Pairs mBoth{}; ///< a lane is both bytes as one number, modulo 65536
    Pairs mHigh{}; ///< that byte of each lane which counts 256
};

uint64_t sumOfBlocks(const uint8_t* data, size_t blocks)
{
    PlaceSums sums;
    for (; blocks >= 4; blocks -= 4, data += 4 * kBlock) {
        sums.add(data);
        sums.add(data + kBlock);
        sums.add(data + 2 * kBlock);
        sums.add(data + 3 * kBlock);
    }
    for (; blocks > 0; --blocks, data += kBlock) {
        sums.add(data);
    }
    return sums.words();
}

} // namespace

namespace wmsg {

uint64_t checksumAdd(uint64_t sum, const uint8_t* data, size_t size)
{
    while (size >= kBlock) {
        const size_t blocks = std::min(size / kBlock, kMaxBlocks);
        sum = addWithCarry(sum, sumOfBlocks(data, blocks));
        data += blocks * kBlock;
        size -= blocks * kBlock;
    }
    for (; size >= 4; size -= 4, data += 4) {
        sum = addWithCarry(sum, get32(data));
    }
    if (size > 0) {
        uint8_t padded[4] = {0, 0, 0, 0};
        std::memcpy(padded, data, size);
        sum = addWithCarry(sum, get32(padded));
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
    WMsg message;
    message.type = wmsg::kControlPing;
    message.control = true;
    message.answer = isAnswer;
    return message;
}

size_t WMsg::segmentCount() const
{
    return payload.empty() ? 1 : (payload.size() + wmsg::kMaxSegmentPayload - 1) / wmsg::kMaxSegmentPayload;
}

size_t WMsg::putHeader(size_t segment, uint8_t* header) const
{
    const size_t offset = segment * wmsg::kMaxSegmentPayload;
    const size_t length = std::min(payload.size() - offset, wmsg::kMaxSegmentPayload);
    uint8_t flags = 0;
    flags |= answer ? wmsg::kFlagAnswer : 0;
    flags |= event ? wmsg::kFlagEvent : 0;
    flags |= control ? wmsg::kFlagControl : 0;
    flags |= offset + length == payload.size() ? wmsg::kFlagLastSegment : 0;

    wmsg::put16(header, wmsg::kMagic);
    header[2] = wmsg::kVersion;
    header[3] = flags;
    header[4] = type;
    header[5] = seq;
    wmsg::put16(header + 6, static_cast<uint16_t>(segment));
    wmsg::put32(header + 8, static_cast<uint32_t>(length));

    uint64_t sum = wmsg::checksumAdd(0, header, wmsg::kHeaderSize - 4);
    sum = wmsg::checksumAdd(sum, payload.data() + offset, length);
    wmsg::put32(header + 12, wmsg::checksumFinish(sum));
    return length;
}

size_t WMsg::segmentMessage(size_t segment, uint8_t* frame) const
{
    const size_t length = putHeader(segment, frame);
    if (length > 0) {
        std::memcpy(frame + wmsg::kHeaderSize, payload.data() + segment * wmsg::kMaxSegmentPayload, length);
    }
    return wmsg::kHeaderSize + length;
}

void WMsg::appendFrames(std::vector<uint8_t>& bytes) const
{
    const size_t segments = segmentCount();
    const size_t needed = bytes.size() + payload.size() + segments * wmsg::kHeaderSize;
    if (needed > bytes.capacity()) {
        bytes.reserve(std::max(needed, 2 * bytes.capacity()));
    }
    for (size_t segment = 0; segment < segments; ++segment) {
        uint8_t header[wmsg::kHeaderSize];
        const size_t length = putHeader(segment, header);
        const uint8_t* part = payload.data() + segment * wmsg::kMaxSegmentPayload;
        bytes.insert(bytes.end(), header, header + wmsg::kHeaderSize);
        bytes.insert(bytes.end(), part, part + length);
    }
}

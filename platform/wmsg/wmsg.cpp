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

} // namespace

namespace wmsg {

uint64_t checksumAdd(uint64_t sum, const uint8_t* data, size_t size)
{
    // The sum may be taken in words twice as wide and be folded at the end (RFC 1071, section 2).
    for (; size >= 32; size -= 32, data += 32) {
        sum = addWithCarry(sum, get64(data));
        sum = addWithCarry(sum, get64(data + 8));
        sum = addWithCarry(sum, get64(data + 16));
        sum = addWithCarry(sum, get64(data + 24));
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

size_t WMsg::segmentMessage(size_t segment, uint8_t* frame) const
{
    const size_t offset = segment * wmsg::kMaxSegmentPayload;
    const size_t length = std::min(payload.size() - offset, wmsg::kMaxSegmentPayload);
    uint8_t flags = 0;
    flags |= answer ? wmsg::kFlagAnswer : 0;
    flags |= event ? wmsg::kFlagEvent : 0;
    flags |= control ? wmsg::kFlagControl : 0;
    flags |= offset + length == payload.size() ? wmsg::kFlagLastSegment : 0;

    wmsg::put16(frame, wmsg::kMagic);
    frame[2] = wmsg::kVersion;
    frame[3] = flags;
    frame[4] = type;
    frame[5] = seq;
    wmsg::put16(frame + 6, static_cast<uint16_t>(segment));
    wmsg::put32(frame + 8, static_cast<uint32_t>(length));
    if (length > 0) {
        std::memcpy(frame + wmsg::kHeaderSize, payload.data() + offset, length);
    }

    uint64_t sum = wmsg::checksumAdd(0, frame, wmsg::kHeaderSize - 4);
    sum = wmsg::checksumAdd(sum, frame + wmsg::kHeaderSize, length);
    wmsg::put32(frame + 12, wmsg::checksumFinish(sum));
    return wmsg::kHeaderSize + length;
}

void WMsg::appendFrames(std::vector<uint8_t>& bytes) const
{
    const size_t segments = segmentCount();
    size_t end = bytes.size();
    bytes.resize(end + payload.size() + segments * wmsg::kHeaderSize);
    for (size_t segment = 0; segment < segments; ++segment) {
        end += segmentMessage(segment, bytes.data() + end);
    }
}

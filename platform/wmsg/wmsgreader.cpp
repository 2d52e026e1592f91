#include "wmsg/wmsgreader.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "wmsg/wbytes.h"

WMsgReader::eResult WMsgReader::read(const uint8_t** data, size_t* size, int64_t nowMs, WMsg* message)
{
    if (!mStatus.isOk()) {
        return BROKEN;
    }
    if (overdue(nowMs)) {
        return broken(WStatus::error("message", "takes too long to arrive"));
    }
    while (*size > 0) {
        if (mHeaderUsed < wmsg::kHeaderSize) {
            if (idle()) {
                mBegunMs = nowMs;
            }
            if (!takeHeaderBytes(data, size)) {
                return MORE;
            }
            const WStatus status = checkHeader();
            if (!status.isOk()) {
                return broken(status);
            }
            mPayloadLeft = segmentLength();
        }
        takePayloadBytes(data, size);
        if (mPayloadLeft > 0) {
            return MORE;
        }
        if (!checksumMatches()) {
            return broken(WStatus::error("checksum", "does not fit the segment"));
        }
        if (finishSegment(message)) {
            return MESSAGE;
        }
    }
    return MORE;
}

int64_t WMsgReader::deadline() const
{
    return idle() ? std::numeric_limits<int64_t>::max() : mBegunMs + mLimits.ageMs + 1;
}

bool WMsgReader::takeHeaderBytes(const uint8_t** data, size_t* size)
{
    const size_t taken = std::min(*size, wmsg::kHeaderSize - mHeaderUsed);
    std::memcpy(mHeader.data() + mHeaderUsed, *data, taken);
    mHeaderUsed += taken;
    *data += taken;
    *size -= taken;
    return mHeaderUsed == wmsg::kHeaderSize;
}

size_t WMsgReader::segmentLength() const { return wmsg::get32(mHeader.data() + 8); }

WStatus WMsgReader::checkHeader() const
{
    if (wmsg::get16(mHeader.data()) != wmsg::kMagic) {
        return WStatus::error("magic", "is not that of a message");
    }
    if (mHeader[2] != wmsg::kVersion) {
        return WStatus::error("protocol version", "is not known");
    }
    if ((flags() & ~wmsg::kFlagsKnown) != 0) {
        return WStatus::error("flags", "are not all known");
    }
    if (segmentLength() > wmsg::kMaxSegmentPayload) {
        return WStatus::error("payload length", "is more than a segment holds");
    }
    return isControl() ? checkControl() : checkContinuation();
}

WStatus WMsgReader::checkControl() const
{
    if ((flags() & wmsg::kFlagLastSegment) == 0 || wmsg::get16(mHeader.data() + 6) != 0) {
        return WStatus::error("segment number", "of a control message is not its only one");
    }
    if (segmentLength() != 0) {
        return WStatus::error("payload length", "of a control message is not 0");
    }
    return WStatus::ok();
}

WStatus WMsgReader::checkContinuation() const
{
    if (wmsg::get16(mHeader.data() + 6) != mSegmentsUsed) {
        return WStatus::error("segment number", "is not the next one");
    }
    if (mSegmentsUsed >= mLimits.segments) {
        return WStatus::error("segment number", "is beyond the permitted count");
    }
    if (segmentLength() > mLimits.messageBytes - mMessage.payload.size()) {
        return WStatus::error("payload length", "makes the message too large");
    }
    if (mSegmentsUsed == 0) {
        return WStatus::ok();
    }
    const bool same = mMessage.type == mHeader[4] && mMessage.seq == mHeader[5] &&
                      mMessage.answer == ((flags() & wmsg::kFlagAnswer) != 0) &&
                      mMessage.event == ((flags() & wmsg::kFlagEvent) != 0);
    return same ? WStatus::ok() : WStatus::error("segment", "belongs to another message");
}

void WMsgReader::takePayloadBytes(const uint8_t** data, size_t* size)
{
    // A control message has no payload, so whatever comes here belongs to the message.
    const size_t taken = std::min(*size, mPayloadLeft);
    if (taken == 0) {
        return;
    }
    std::vector<uint8_t>& payload = mMessage.payload;
    reserveFor(payload.size() + taken);
    payload.insert(payload.end(), *data, *data + taken);
    mPayloadLeft -= taken;
    *data += taken;
    *size -= taken;
}

/// Room that grows exists twice for a moment. So it doubles while that costs little; beyond that it grows
/// once more, to the largest message permitted, of which the system backs what is written to.
void WMsgReader::reserveFor(size_t size)
{
    std::vector<uint8_t>& payload = mMessage.payload;
    if (size > payload.capacity()) {
        const size_t room = std::min(std::max(size, payload.capacity() * 2), mLimits.messageBytes);
        payload.reserve(room <= kMaxDoubled ? room : mLimits.messageBytes);
    }
}

bool WMsgReader::checksumMatches() const
{
    const size_t length = segmentLength();
    uint64_t sum = wmsg::checksumAdd(0, mHeader.data(), wmsg::kHeaderSize - 4);
    sum = wmsg::checksumAdd(sum, mMessage.payload.data() + mMessage.payload.size() - length, length);
    return wmsg::checksumFinish(sum) == wmsg::get32(mHeader.data() + 12);
}

bool WMsgReader::finishSegment(WMsg* message)
{
    mHeaderUsed = 0;
    if (isControl()) {
        message->payload.clear();
        message->type = mHeader[4];
        message->seq = mHeader[5];
        message->control = true;
        message->answer = (flags() & wmsg::kFlagAnswer) != 0;
        message->event = (flags() & wmsg::kFlagEvent) != 0;
        return true;
    }
    mMessage.type = mHeader[4];
    mMessage.seq = mHeader[5];
    mMessage.control = false;
    mMessage.answer = (flags() & wmsg::kFlagAnswer) != 0;
    mMessage.event = (flags() & wmsg::kFlagEvent) != 0;
    ++mSegmentsUsed;
    if ((flags() & wmsg::kFlagLastSegment) == 0) {
        return false;
    }
    mSegmentsUsed = 0;
    std::swap(*message, mMessage);
    // Goes on with the memory of the message that has been replaced, unless that is much to keep.
    if (mMessage.payload.capacity() > kMaxDoubled) {
        mMessage = WMsg();
    }
    mMessage.payload.clear();
    return true;
}

WMsgReader::eResult WMsgReader::broken(WStatus status)
{
    mStatus = status;
    mMessage = WMsg();
    return BROKEN;
}

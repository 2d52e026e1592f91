#include "wmsg/wmsgreader.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "wmsg/wbytes.h"

namespace {

/// Cuts at most @p size bytes off the front of the @p *left bytes at @p *data.
std::span<const uint8_t> takeFront(const uint8_t** data, size_t* left, size_t size)
{
    const std::span front(*data, std::min(*left, size));
    *data += front.size();
    *left -= front.size();
    return front;
}

} // namespace

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
            const auto bytes = takeFront(data, size, wmsg::kHeaderSize - mHeaderUsed);
            std::copy(bytes.begin(), bytes.end(), mHeader.data() + mHeaderUsed);
            mHeaderUsed += bytes.size();
            if (mHeaderUsed < wmsg::kHeaderSize) {
                return MORE;
            }
            const WStatus status = checkHeader();
            if (!status.isOk()) {
                return broken(status);
            }
            mPayloadLeft = segmentLength();
        }
        appendPayload(takeFront(data, size, mPayloadLeft));
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
    return idle() ? std::numeric_limits<int64_t>::max() : mBegunMs + wmsg::kMaxAgeMs + 1;
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
    if (has(static_cast<uint8_t>(~wmsg::kFlagsKnown))) {
        return WStatus::error("flags", "are not all known");
    }
    if (segmentLength() > wmsg::kMaxSegmentPayload) {
        return WStatus::error("payload length", "is more than a segment holds");
    }
    return has(wmsg::kFlagControl) ? checkControl() : checkContinuation();
}

WStatus WMsgReader::checkControl() const
{
    if (!has(wmsg::kFlagLastSegment) || wmsg::get16(mHeader.data() + 6) != 0) {
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
    if (mSegmentsUsed >= wmsg::kMaxSegments) {
        return WStatus::error("segment number", "is beyond the permitted count");
    }
    if (segmentLength() > wmsg::kMaxMessageBytes - mMessage.payload.size()) {
        return WStatus::error("payload length", "makes the message too large");
    }
    if (mSegmentsUsed == 0) {
        return WStatus::ok();
    }
    const bool same = mMessage.type == mHeader[4] && mMessage.seq == mHeader[5] &&
                      mMessage.answer == has(wmsg::kFlagAnswer) && mMessage.event == has(wmsg::kFlagEvent);
    return same ? WStatus::ok() : WStatus::error("segment", "belongs to another message");
}

void WMsgReader::appendPayload(std::span<const uint8_t> bytes)
{
    // While a vector grows it exists twice. So it doubles up to kMaxDoubled; beyond that it grows once more,
    // to the largest message permitted, of which the system backs what is written to.
    std::vector<uint8_t>& payload = mMessage.payload;
    const size_t size = payload.size() + bytes.size();
    if (size > payload.capacity()) {
        const size_t room = std::min(std::max(size, payload.capacity() * 2), wmsg::kMaxMessageBytes);
        payload.reserve(room <= kMaxDoubled ? room : wmsg::kMaxMessageBytes);
    }
    payload.insert(payload.end(), bytes.begin(), bytes.end());
    mPayloadLeft -= bytes.size();
}

bool WMsgReader::checksumMatches() const
{
    const uint64_t sum = wmsg::checksumAdd(0, std::span(mHeader).first(wmsg::kHeaderSize - 4));
    const auto part = std::span(mMessage.payload).last(segmentLength());
    return wmsg::checksumFinish(wmsg::checksumAdd(sum, part)) == wmsg::get32(mHeader.data() + 12);
}

/// True if @p *message is complete.
bool WMsgReader::finishSegment(WMsg* message)
{
    mHeaderUsed = 0;
    if (has(wmsg::kFlagControl)) {
        message->payload.clear();
        readHeader(message);
        return true;
    }
    readHeader(&mMessage);
    ++mSegmentsUsed;
    if (!has(wmsg::kFlagLastSegment)) {
        return false;
    }
    mSegmentsUsed = 0;
    std::swap(*message, mMessage);
    // The next message uses the memory of the one that has been replaced, unless that is much to keep.
    if (mMessage.payload.capacity() > kMaxDoubled) {
        mMessage = WMsg();
    }
    mMessage.payload.clear();
    return true;
}

void WMsgReader::readHeader(WMsg* message) const
{
    message->type = mHeader[4];
    message->seq = mHeader[5];
    message->answer = has(wmsg::kFlagAnswer);
    message->event = has(wmsg::kFlagEvent);
    message->control = has(wmsg::kFlagControl);
}

WMsgReader::eResult WMsgReader::broken(WStatus status)
{
    mStatus = status;
    mMessage = WMsg();
    return BROKEN;
}

#include "proxy/faults/messagecutter.h"

#include <algorithm>
#include <utility>

#include "proxy/faults/segmentheader.h"

namespace proxy {

namespace {

/// Kept bytes double up to this. Beyond, they get room for the largest message at once, of which the system
/// backs what is written to.
constexpr size_t kMaxKeptDoubled = 32 * 1024;

constexpr size_t kLargestMessage =
    wmsg::kMaxMessageBytes + wmsg::kMaxSegments * wmsg::kHeaderSize + wmsg::kMaxSegmentSize;

} // namespace

/// True if the header is complete.
bool MessageCutter::readHeader(std::span<const uint8_t>* bytes)
{
    const size_t size = std::min(bytes->size(), wmsg::kHeaderSize - mHeaderUsed);
    std::copy_n(bytes->data(), size, mHeader.data() + mHeaderUsed);
    mHeaderUsed = static_cast<uint8_t>(mHeaderUsed + size);
    *bytes = bytes->subspan(size);
    return mHeaderUsed == wmsg::kHeaderSize;
}

/// Compares as many bytes as have come, so that the bytes of a foreign peer pass at once.
bool MessageCutter::beginsLikeHeader() const
{
    constexpr std::array<uint8_t, 3> kBeginning = {wmsg::kMagic >> 8, wmsg::kMagic & 0xFF, wmsg::kVersion};
    const size_t known = std::min<size_t>(mHeaderUsed, kBeginning.size());
    return std::equal(mHeader.begin(), mHeader.begin() + known, kBeginning.begin());
}

/// MESSAGE if a segment, of any kind, has ended.
MessageCutter::eResult MessageCutter::readSegment(std::span<const uint8_t>* bytes)
{
    if (mHeaderUsed < wmsg::kHeaderSize) {
        const bool complete = readHeader(bytes);
        const uint32_t length = complete ? SegmentHeader(mHeader.data()).length() : 0;
        if (!beginsLikeHeader() || length > wmsg::kMaxSegmentPayload) {
            mForeign = true;
            return FOREIGN;
        }
        if (!complete) {
            return MORE;
        }
        mPayloadLeft = static_cast<uint16_t>(length);
    }
    const size_t size = std::min<size_t>(bytes->size(), mPayloadLeft);
    *bytes = bytes->subspan(size);
    mPayloadLeft = static_cast<uint16_t>(mPayloadLeft - size);
    if (mPayloadLeft > 0) {
        return MORE;
    }
    mHeaderUsed = 0;
    return MESSAGE;
}

bool MessageCutter::isControl() const { return SegmentHeader(mHeader.data()).has(wmsg::kFlagControl); }

/// Counts the segment that has ended; true if it is the last one of its message.
bool MessageCutter::endsMessage()
{
    const SegmentHeader header(mHeader.data());
    if (header.has(wmsg::kFlagControl)) {
        ++mPings;
        return !mInMessage;
    }
    ++mSegments;
    mPayloadBytes += header.length();
    mInMessage = !header.has(wmsg::kFlagLastSegment);
    mMessages += mInMessage ? 0 : 1;
    return !mInMessage;
}

bool MessageCutter::tooLarge() const
{
    return mSegments > wmsg::kMaxSegments || mPayloadBytes > wmsg::kMaxMessageBytes;
}

/// Call at the end of a message.
void MessageCutter::forgetSize()
{
    mSegments = 0;
    mPayloadBytes = 0;
}

MessageCutter::eResult MessageCutter::skip(std::span<const uint8_t>* bytes)
{
    while (!bytes->empty()) {
        const eResult result = readSegment(bytes);
        if (result != MESSAGE) {
            return result;
        }
        if (endsMessage()) {
            forgetSize();
            return MESSAGE;
        }
    }
    return MORE;
}

/// The message that @p bytes begin with, if it is one whole segment; else nothing.
std::span<const uint8_t> MessageCutter::wholeSegment(std::span<const uint8_t> bytes)
{
    constexpr uint8_t kKind = wmsg::kFlagControl | wmsg::kFlagLastSegment;
    constexpr uint32_t kBeginning = uint32_t{wmsg::kMagic} << 8 | wmsg::kVersion;
    if (bytes.size() < wmsg::kHeaderSize || wmsg::get32(bytes.data()) >> 8 != kBeginning) {
        return {};
    }
    const SegmentHeader header(bytes.data());
    const size_t size = wmsg::kHeaderSize + header.length();
    const bool whole = (header.flags() & kKind) == wmsg::kFlagLastSegment && size <= wmsg::kMaxSegmentSize;
    return whole && size <= bytes.size() ? bytes.first(size) : std::span<const uint8_t>();
}

/// Most messages are one segment and come whole; they need no state.
bool MessageCutter::takeWhole(std::span<const uint8_t>* bytes, CutMessage* message)
{
    const std::span<const uint8_t> whole = atBoundary() ? wholeSegment(*bytes) : std::span<const uint8_t>();
    if (whole.empty()) {
        return false;
    }
    *bytes = bytes->subspan(whole.size());
    message->bytes = whole;
    message->owned.clear();
    message->segments = 1;
    message->ping = false;
    message->place = ++mMessages;
    return true;
}

MessageCutter::eResult MessageCutter::take(std::span<const uint8_t>* bytes, CutMessage* message)
{
    if (takeWhole(bytes, message)) {
        return MESSAGE;
    }
    const std::span<const uint8_t> piece = *bytes;
    while (!bytes->empty()) {
        const eResult result = readSegment(bytes);
        if (result == FOREIGN) {
            *bytes = piece;
            return FOREIGN;
        }
        if (result == MORE) {
            break;
        }
        const std::span<const uint8_t> used = piece.first(piece.size() - bytes->size());
        const bool ends = endsMessage();
        if (isControl()) {
            takePing(used, message);
            return MESSAGE;
        }
        if (tooLarge()) {
            keep(used);
            return TOO_LARGE;
        }
        if (ends) {
            takeMessage(used, message);
            forgetSize();
            return MESSAGE;
        }
    }
    keep(piece);
    return MORE;
}

/// @p bytes end with the ping; before it there may be segments of the unfinished message.
void MessageCutter::takePing(std::span<const uint8_t> bytes, CutMessage* message)
{
    const size_t size = wmsg::kHeaderSize + SegmentHeader(mHeader.data()).length();
    *message = {.segments = 1, .ping = true, .place = mPings};
    if (mKept.empty() && bytes.size() == size) {
        message->bytes = bytes;
        return;
    }
    keep(bytes);
    const auto ping = mKept.end() - static_cast<std::ptrdiff_t>(size);
    message->owned.assign(ping, mKept.end());
    message->bytes = message->owned;
    mKept.erase(ping, mKept.end());
}

void MessageCutter::takeMessage(std::span<const uint8_t> bytes, CutMessage* message)
{
    *message = {.segments = mSegments, .place = mMessages};
    if (mKept.empty()) {
        message->bytes = bytes;
        return;
    }
    keep(bytes);
    message->owned = takeKept();
    message->bytes = message->owned;
}

void MessageCutter::keep(std::span<const uint8_t> bytes)
{
    const size_t size = mKept.size() + bytes.size();
    if (size > mKept.capacity()) {
        const size_t room = std::max(size, mKept.capacity() * 2);
        mKept.reserve(room <= kMaxKeptDoubled ? room : std::max(room, kLargestMessage));
    }
    mKept.insert(mKept.end(), bytes.begin(), bytes.end());
}

std::vector<uint8_t> MessageCutter::takeKept() { return std::exchange(mKept, {}); }

} // namespace proxy

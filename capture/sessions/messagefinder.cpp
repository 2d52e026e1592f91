#include "capture/sessions/messagefinder.h"

#include <algorithm>
#include <utility>

#include "wmsg/wbytes.h"

namespace capture {

namespace {

constexpr uint8_t kFirstByte = wmsg::kMagic >> 8;

/// The size of the segment that begins with @p bytes; 0 if none does.
size_t segmentSize(std::span<const uint8_t> bytes)
{
    if (bytes.size() < wmsg::kHeaderSize) {
        return wmsg::kHeaderSize;
    }
    const size_t payload = wmsg::get32(bytes.data() + 8);
    const bool isHeader = wmsg::get16(bytes.data()) == wmsg::kMagic && bytes[2] == wmsg::kVersion &&
                          payload <= wmsg::kMaxSegmentPayload;
    return isHeader ? wmsg::kHeaderSize + payload : 0;
}

} // namespace

bool MessageFinder::next(std::span<const uint8_t>* bytes, WMsg* message)
{
    while (true) {
        const std::span<const uint8_t> segment = segmentIn(bytes);
        if (segment.empty()) {
            return false;
        }
        bool isMessage = false;
        if (segment.size() < wmsg::kHeaderSize || !takeSegment(segment, message, &isMessage)) {
            skip(bytes);
            continue;
        }
        drop(segment.size(), bytes);
        if (isMessage) {
            return true;
        }
    }
}

/// The next whole segment, in mRest or at the beginning of @p *bytes. Nothing if there is none yet: then all
/// bytes are used. Less than a header if what stands there is none.
std::span<const uint8_t> MessageFinder::segmentIn(std::span<const uint8_t>* bytes)
{
    if (mRest.empty()) {
        const size_t size = segmentSize(*bytes);
        if (size <= bytes->size()) {
            return bytes->first(std::max<size_t>(size, 1));
        }
    }
    while (true) {
        const size_t size = segmentSize(mRest);
        if (size <= mRest.size()) {
            return std::span(mRest).first(std::max<size_t>(size, 1));
        }
        const auto part = bytes->first(std::min(bytes->size(), size - mRest.size()));
        if (part.empty()) {
            return {};
        }
        mRest.insert(mRest.end(), part.begin(), part.end());
        *bytes = bytes->subspan(part.size());
    }
}

/// False if @p segment is not one of a message.
bool MessageFinder::takeSegment(std::span<const uint8_t> segment, WMsg* message, bool* isMessage)
{
    const auto read = [&] {
        const uint8_t* data = segment.data();
        size_t size = segment.size();
        return mReader.read(&data, &size, 0, message);
    };
    WMsgReader::eResult result = read();
    if (result == WMsgReader::BROKEN) {
        mDamaged += std::exchange(mBegun, 0);
        mReader = WMsgReader();
        result = read();
    }
    if (result == WMsgReader::BROKEN) {
        mReader = WMsgReader();
        return false;
    }
    *isMessage = result == WMsgReader::MESSAGE;
    const bool isBetween = *isMessage && message->control;
    mBegun = isBetween ? mBegun : *isMessage ? 0 : mBegun + segment.size();
    return true;
}

/// Skips a byte that begins no segment, and those behind it that cannot.
void MessageFinder::skip(std::span<const uint8_t>* bytes)
{
    const std::span<const uint8_t> all = mRest.empty() ? *bytes : std::span<const uint8_t>(mRest);
    const auto next = std::find(all.begin() + 1, all.end(), kFirstByte);
    const auto size = static_cast<size_t>(next - all.begin());
    mDamaged += size;
    drop(size, bytes);
}

/// Drops @p size bytes where the next segment is looked for.
void MessageFinder::drop(size_t size, std::span<const uint8_t>* bytes)
{
    if (mRest.empty()) {
        *bytes = bytes->subspan(size);
    } else {
        mRest.erase(mRest.begin(), mRest.begin() + static_cast<std::ptrdiff_t>(size));
    }
}

void MessageFinder::abandon()
{
    mDamaged += begun();
    mBegun = 0;
    mRest.clear();
    mReader = WMsgReader();
}

uint64_t MessageFinder::takeDamaged() { return std::exchange(mDamaged, 0); }

} // namespace capture

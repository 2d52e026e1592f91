#include "proxy/faults/segmentedmessage.h"

#include <algorithm>
#include <array>
#include <utility>

namespace proxy {

namespace {

using Header = std::array<uint8_t, wmsg::kHeaderSize>;

Header headerOf(std::span<const uint8_t> segment)
{
    Header header;
    std::copy_n(segment.begin(), header.size(), header.begin());
    return header;
}

} // namespace

SegmentedMessage::SegmentedMessage(std::vector<uint8_t> bytes) : mBytes(std::move(bytes))
{
    for (size_t begin = 0; begin < mBytes.size();) {
        mBegins.push_back(begin);
        begin += wmsg::kHeaderSize + SegmentHeader(mBytes.data() + begin).length();
    }
}

std::span<uint8_t> SegmentedMessage::segment(size_t number)
{
    const size_t end = number + 1 < mBegins.size() ? mBegins[number + 1] : mBytes.size();
    return std::span(mBytes).subspan(mBegins[number], end - mBegins[number]);
}

void SegmentedMessage::rightChecksums()
{
    for (size_t i = 0; i < segmentCount(); ++i) {
        const std::span<uint8_t> bytes = segment(i);
        wmsg::put32(bytes.data() + SegmentHeader::kChecksumAt, rightChecksum(bytes));
    }
}

void SegmentedMessage::replacePayload(std::span<const uint8_t> payload)
{
    Header header = headerOf(segment(0));
    const auto last = static_cast<uint8_t>(header[SegmentHeader::kFlagsAt] | wmsg::kFlagLastSegment);
    const auto flags = static_cast<uint8_t>(last & ~wmsg::kFlagLastSegment);
    mBytes.clear();
    mBegins.clear();
    do {
        const auto part = payload.first(std::min(payload.size(), wmsg::kMaxSegmentPayload));
        payload = payload.subspan(part.size());
        header[SegmentHeader::kFlagsAt] = payload.empty() ? last : flags;
        wmsg::put16(header.data() + SegmentHeader::kNumberAt, static_cast<uint16_t>(mBegins.size()));
        wmsg::put32(header.data() + SegmentHeader::kLengthAt, static_cast<uint32_t>(part.size()));
        mBegins.push_back(mBytes.size());
        mBytes.insert(mBytes.end(), header.begin(), header.end());
        mBytes.insert(mBytes.end(), part.begin(), part.end());
    } while (!payload.empty());
    rightChecksums();
}

void SegmentedMessage::insertEmptySegments(uint32_t count)
{
    Header header = headerOf(lastSegment());
    const uint16_t number = SegmentHeader(header.data()).number();
    wmsg::put16(lastSegment().data() + SegmentHeader::kNumberAt, static_cast<uint16_t>(number + count));
    header[SegmentHeader::kFlagsAt] &= static_cast<uint8_t>(~wmsg::kFlagLastSegment);
    wmsg::put32(header.data() + SegmentHeader::kLengthAt, 0);
    std::vector<uint8_t> inserted;
    const size_t begin = mBegins.back();
    for (uint32_t i = 0; i < count; ++i) {
        wmsg::put16(header.data() + SegmentHeader::kNumberAt, static_cast<uint16_t>(number + i));
        mBegins.insert(mBegins.end() - 1, begin + inserted.size());
        inserted.insert(inserted.end(), header.begin(), header.end());
    }
    mBegins.back() = begin + inserted.size();
    mBytes.insert(mBytes.begin() + static_cast<std::ptrdiff_t>(begin), inserted.begin(), inserted.end());
    rightChecksums();
}

} // namespace proxy

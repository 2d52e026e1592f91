#include "proxy/faults/messageedit.h"

#include <algorithm>
#include <vector>

#include "proxy/faults/faulttext.h"

namespace proxy {

namespace {

using Edit = std::optional<Change> (*)(const Rule&, cSeededRandom*, SegmentedMessage*);

/// Gives the byte at @p at of each segment's header the value @p value.
Change setHeaderByte(size_t at, uint8_t value, SegmentedMessage* message)
{
    const uint8_t before = message->segment(0)[at];
    for (size_t i = 0; i < message->segmentCount(); ++i) {
        message->segment(i)[at] = value;
    }
    message->rightChecksums();
    return {std::to_string(before), std::to_string(value)};
}

/// Another byte than @p byte.
uint8_t otherByte(uint8_t byte, cSeededRandom* draws)
{
    return static_cast<uint8_t>(byte + 1 + draws->next() % 255);
}

Change flagsChange(uint8_t before, uint8_t after)
{
    return {hexText(std::span(&before, 1)), hexText(std::span(&after, 1))};
}

/// The bytes from the first to the last one that differ.
Change bytesChange(std::span<const uint8_t> before, std::span<const uint8_t> after)
{
    const auto first = std::ranges::mismatch(before, after).in1 - before.begin();
    size_t end = before.size();
    while (before[end - 1] == after[end - 1]) {
        --end;
    }
    const auto from = static_cast<size_t>(first);
    return {hexText(before.subspan(from, end - from)), hexText(after.subspan(from, end - from))};
}

std::optional<Change> setWrongNumber(const Rule& /*rule*/, cSeededRandom* draws, SegmentedMessage* message)
{
    return setHeaderByte(SegmentHeader::kSequenceAt, otherByte(message->header().sequence(), draws), message);
}

std::optional<Change> setWrongType(const Rule& /*rule*/, cSeededRandom* draws, SegmentedMessage* message)
{
    return setHeaderByte(SegmentHeader::kTypeAt, otherByte(message->header().type(), draws), message);
}

/// Begins with a drawn bit of the four and takes the first one that is not set yet.
std::optional<Change> setUnknownFlag(const Rule& /*rule*/, cSeededRandom* draws, SegmentedMessage* message)
{
    const uint8_t before = message->header().flags();
    const uint64_t drawn = draws->next();
    for (uint64_t i = 0; i < 4; ++i) {
        const auto flag = static_cast<uint8_t>(0x10U << (drawn + i) % 4);
        if ((before & flag) == 0) {
            for (size_t segment = 0; segment < message->segmentCount(); ++segment) {
                message->segment(segment)[SegmentHeader::kFlagsAt] |= flag;
            }
            message->rightChecksums();
            return flagsChange(before, before | flag);
        }
    }
    return std::nullopt;
}

std::optional<Change> setTooLong(const Rule& /*rule*/, cSeededRandom* /*draws*/, SegmentedMessage* message)
{
    constexpr uint32_t kTooLong = wmsg::kMaxSegmentPayload + 1;
    uint8_t* header = message->lastSegment().data();
    const uint32_t before = SegmentHeader(header).length();
    wmsg::put32(header + SegmentHeader::kLengthAt, kTooLong);
    message->rightChecksums();
    return Change{std::to_string(before), std::to_string(kTooLong)};
}

std::optional<Change> addEmptySegments(const Rule& rule, cSeededRandom* /*draws*/, SegmentedMessage* message)
{
    const size_t before = message->segmentCount();
    message->insertEmptySegments(rule.min);
    const auto text = [](size_t count) {
        return std::to_string(count) + (count == 1 ? " segment" : " segments");
    };
    return Change{text(before), text(message->segmentCount())};
}

std::optional<Change> takeLastFlag(const Rule& /*rule*/, cSeededRandom* /*draws*/, SegmentedMessage* message)
{
    uint8_t& flags = message->lastSegment()[SegmentHeader::kFlagsAt];
    const uint8_t before = flags;
    if ((before & wmsg::kFlagLastSegment) == 0) {
        return std::nullopt;
    }
    flags = static_cast<uint8_t>(before & ~wmsg::kFlagLastSegment);
    message->rightChecksums();
    return flagsChange(before, flags);
}

std::optional<Change> setWrongChecksum(const Rule& /*rule*/, cSeededRandom* draws, SegmentedMessage* message)
{
    const std::vector<uint8_t> before = message->bytes();
    for (size_t i = 0; i < message->segmentCount(); ++i) {
        const std::span<uint8_t> segment = message->segment(i);
        uint32_t wrong = 0;
        do {
            wrong = static_cast<uint32_t>(draws->next());
        } while (wrong == rightChecksum(segment) || wrong == SegmentHeader(segment.data()).checksum());
        wmsg::put32(segment.data() + SegmentHeader::kChecksumAt, wrong);
    }
    return bytesChange(before, message->bytes());
}

/// Inverts @p count different bits, each choice of them equally likely (Floyd's sampling).
void invertBits(size_t count, cSeededRandom* draws, std::vector<uint8_t>* bytes)
{
    const size_t bits = bytes->size() * 8;
    std::vector<bool> chosen(bits);
    for (size_t last = bits - count; last < bits; ++last) {
        const size_t drawn = draws->next() % (last + 1);
        const size_t bit = chosen[drawn] ? last : drawn;
        chosen[bit] = true;
        (*bytes)[bit / 8] = static_cast<uint8_t>((*bytes)[bit / 8] ^ (0x80U >> bit % 8));
    }
}

bool hasWrongChecksum(SegmentedMessage* message)
{
    for (size_t i = 0; i < message->segmentCount(); ++i) {
        const std::span<const uint8_t> segment = message->segment(i);
        if (SegmentHeader(segment.data()).checksum() != rightChecksum(segment)) {
            return true;
        }
    }
    return false;
}

/// Leaves at least one bit as it is: a segment whose bits are all inverted has a good checksum.
std::optional<Change> corrupt(const Rule& rule, cSeededRandom* draws, SegmentedMessage* message)
{
    const std::vector<uint8_t> before = message->bytes();
    const size_t count = std::min<size_t>(rule.min, before.size() * 8 - 1);
    do {
        message->bytes() = before;
        invertBits(count, draws, &message->bytes());
    } while (!hasWrongChecksum(message));
    return bytesChange(before, message->bytes());
}

Edit editFor(eFault kind)
{
    switch (kind) {
    case eFault::WRONG_NUMBER:
        return setWrongNumber;
    case eFault::WRONG_TYPE:
        return setWrongType;
    case eFault::UNKNOWN_FLAG:
        return setUnknownFlag;
    case eFault::TOO_LONG:
        return setTooLong;
    case eFault::EMPTY_SEGMENTS:
        return addEmptySegments;
    case eFault::NEVER_LAST:
        return takeLastFlag;
    case eFault::WRONG_CHECKSUM:
        return setWrongChecksum;
    case eFault::CORRUPT:
        return corrupt;
    default:
        return nullptr;
    }
}

} // namespace

std::optional<Change> editMessage(const Rule& rule, cSeededRandom* draws, SegmentedMessage* message)
{
    const Edit edit = editFor(rule.kind);
    return edit == nullptr ? std::nullopt : edit(rule, draws, message);
}

bool editsSegments(eFault kind) { return editFor(kind) != nullptr; }

} // namespace proxy

#include "proxy/faults/rulesieve.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace proxy {

namespace {

/// All bits for tags that hold a port, and for those that share a mask with them.
constexpr std::array<RuleSieve::Mask, 32> kPortTags = [] {
    std::array<RuleSieve::Mask, 32> masks{};
    masks[TAG_PORT_ID] = masks[TAG_PORT_NUM] = ~RuleSieve::Mask{0};
    return masks;
}();

uint64_t wordAt(const uint8_t* at)
{
    uint64_t word = 0;
    std::memcpy(&word, at, sizeof word);
    return word;
}

static_assert(wmsg::kObjectHeaderSize == sizeof(uint64_t) && wmsg::kNumberTagSize == sizeof(uint64_t));

/// True if a whole record of the type and the size of @p record stands at the beginning of @p bytes.
bool isSequel(std::span<const uint8_t> bytes, const WendleObject& record)
{
    const size_t size = wmsg::kObjectHeaderSize + record.tags.size();
    return bytes.size() >= size &&
           wordAt(bytes.data()) == wordAt(record.tags.data() - wmsg::kObjectHeaderSize);
}

/// True if all @p tags are as long as numbers, and one at most is a port: its number is at @p *portAt, which
/// stays as it is if there is none.
bool areNumbers(std::span<const uint8_t> tags, size_t* portAt)
{
    size_t numbers = 0;
    size_t ports = 0;
    WTagReader reader(tags);
    for (WTagView tag; reader.next(&tag);) {
        numbers += tag.value.size() == wmsg::kNumberSize ? 1 : 0;
        uint32_t port = 0;
        if (zulcommand::readPort(tag, &port)) {
            ++ports;
            *portAt = static_cast<size_t>(tag.value.data() - tags.data());
        }
    }
    return ports <= 1 && numbers * wmsg::kNumberTagSize == tags.size();
}

/// True if the words in the @p size bytes at @p bytes begin with the same four bytes as those @p distance
/// before them. @p size is a multiple of 32.
bool areAlike(const uint8_t* bytes, size_t size, size_t distance)
{
    const auto firstHalf = std::bit_cast<uint64_t>(std::array<uint8_t, 8>{0xFF, 0xFF, 0xFF, 0xFF});
    std::array<uint64_t, 4> differences{}; // several, which the compiler computes side by side
#pragma GCC unroll 4
    for (size_t at = 0; at < size; at += sizeof differences) {
        for (size_t i = 0; i < differences.size(); ++i) {
            const uint8_t* const word = bytes + at + i * sizeof(uint64_t);
            differences[i] |= wordAt(word) ^ wordAt(word - distance);
        }
    }
    return ((differences[0] | differences[1] | differences[2] | differences[3]) & firstHalf) == 0;
}

} // namespace

RuleSieve::RuleSieve(std::vector<const Rule*> rules) : mRules(std::move(rules))
{
    for (size_t number = 0; number < mRules.size(); ++number) {
        add(*mRules[number], bitOf(number));
    }
}

void RuleSieve::add(const Rule& rule, Mask mask)
{
    mWithoutRecord |= asksForRecord(rule) ? 0 : mask;
    mWithoutPort |= rule.port ? 0 : mask;
    addFlags(rule, mask);
    mByMessageType.add(rule.type || !rule.message ? rule.type : zulcommand::typeOf(*rule.message), mask);
    mByObject.add(rule.object, mask);
    mByPort.add(rule.port, mask);
    addTags(rule, mask);
}

void RuleSieve::addFlags(const Rule& rule, Mask mask)
{
    for (size_t flags = 0; flags < mByFlags.size(); ++flags) {
        mByFlags[flags] |= choosesFlags(rule, static_cast<uint8_t>(flags)) ? mask : 0;
    }
}

void RuleSieve::addTags(const Rule& rule, Mask mask)
{
    if (rule.kind == eFault::NAN_FLOATS) {
        for (const zuldict::TagEntry& entry : zuldict::tags()) {
            mByTag[entry.tag] |= entry.wireType == zuldict::eWireType::FLOAT ? mask : 0;
        }
    } else if (const std::optional<uint16_t> tag = changedTag(rule)) {
        mByTag[*tag] |= mask;
    } else {
        mWithoutTag |= mask;
    }
}

RuleSieve::Mask RuleSieve::find(MessageFacts* message, Mask rules) const
{
    const SegmentHeader header = message->header();
    const Mask mask = rules & mByFlags[header.flags()] & mByMessageType[header.type()];
    const Mask asking = mask & ~mWithoutRecord;
    return asking == 0 ? mask : (mask & mWithoutRecord) | findInRecords(message->payload(), asking);
}

/// Takes no branch that depends on which tags there are, only on their sizes: records differ.
inline RuleSieve::Suited RuleSieve::suitedBy(std::span<const uint8_t> tags) const
{
    Suited suited{mWithoutTag, mWithoutPort};
    const uint8_t* at = tags.data();
    size_t left = tags.size();
    while (left >= wmsg::kNumberTagSize) {
        const uint32_t header = wmsg::get32(at);
        suited.tags |= mByTag[header >> 16];
        suited.ports |=
            mByPort[wmsg::get32(at + wmsg::kTagHeaderSize)] & kPortTags[(header >> 16) % kPortTags.size()];
        size_t size = wmsg::kNumberTagSize;
        if ((header & 0xFFFF) != wmsg::kNumberSize) [[unlikely]] {
            size = std::min<size_t>(wmsg::kTagHeaderSize + (header & 0xFFFF), left);
        }
        at += size;
        left -= size;
    }
    suited.tags |= left >= wmsg::kTagHeaderSize ? mByTag[wmsg::get16(at)] : 0; // an empty text
    return suited;
}

RuleSieve::Mask RuleSieve::findInRecords(std::span<const uint8_t> payload, Mask wanted) const
{
    const Mask readingTags = ~(mWithoutPort & mWithoutTag);
    Mask found = 0;
    WObjectReader reader(payload);
    for (WendleObject record; found != wanted && reader.next(&record);) {
        Mask mask = wanted & ~found & mByObject[record.type];
        const bool readsTags = (mask & readingTags) != 0;
        Suited suited{0, ~Mask{0}};
        if (readsTags) {
            suited = suitedBy(record.tags);
            mask &= suited.tags;
        }
        if ((mask & suited.ports) != 0) {
            found |= confirmed(record, mask & suited.ports);
        } else if (isSequel(reader.left(), record)) {
            skipAlike(record, mask, readsTags, &reader);
        }
    }
    return found;
}

/// Skips records behind @p record, some at a time, that have the same tags, if these matter, and suit none of
/// the rules in @p mask either. Takes fewer steps than to read them one by one.
void RuleSieve::skipAlike(WendleObject record, Mask mask, bool readsTags, WObjectReader* reader) const
{
    constexpr size_t kRecords = 4;
    const size_t size = wmsg::kObjectHeaderSize + record.tags.size();
    size_t portAt = 0;
    if (reader->left().size() < kRecords * size || (readsTags && !areNumbers(record.tags, &portAt))) {
        return;
    }
    const Mask asking = portAt > 0 ? mask : 0;
    const size_t valueAt = portAt > 0 ? wmsg::kObjectHeaderSize + portAt : 0;
    const uint64_t header = wordAt(record.tags.data() - wmsg::kObjectHeaderSize);
    while (reader->left().size() >= kRecords * size) {
        const uint8_t* at = reader->left().data();
        if (readsTags && !areAlike(at, kRecords * size, size)) {
            return;
        }
        uint64_t differences = 0;
        Mask suited = 0;
#pragma GCC unroll 4
        for (size_t i = 0; i < kRecords; ++i, at += size) {
            differences |= wordAt(at) ^ header;
            suited |= mByPort[wmsg::get32(at + valueAt)];
        }
        if (differences != 0 || (suited & asking) != 0) {
            return;
        }
        reader->skip(kRecords * size);
    }
}

/// Leaves out the rules that are in @p mask only because they share something.
RuleSieve::Mask RuleSieve::confirmed(WendleObject record, Mask mask) const
{
    Mask chosen = 0;
    forEach(mask,
            [&](size_t number) { chosen |= choosesRecord(*mRules[number], record) ? bitOf(number) : 0; });
    return chosen;
}

} // namespace proxy

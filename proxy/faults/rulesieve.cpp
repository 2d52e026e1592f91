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

/// True if a whole record of the type and the size of @p record stands at the beginning of @p bytes.
bool isSequel(std::span<const uint8_t> bytes, const WendleObject& record)
{
    const size_t size = wmsg::kObjectHeaderSize + record.tags.size();
    return bytes.size() >= size && std::memcmp(bytes.data(), record.tags.data() - wmsg::kObjectHeaderSize,
                                               wmsg::kObjectHeaderSize) == 0;
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

/// True if all @p tags, which are numbers, and @p others differ in nothing but their values.
bool haveSameHeaders(std::span<const uint8_t> tags, const uint8_t* others)
{
    for (size_t at = 0; at < tags.size(); at += wmsg::kNumberTagSize) {
        if (std::memcmp(tags.data() + at, others + at, wmsg::kTagHeaderSize) != 0) {
            return false;
        }
    }
    return true;
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

/// Skips the records behind @p record that have the same tags, if these matter, and suit none of the rules in
/// @p mask either. Takes fewer steps than to read them one by one.
void RuleSieve::skipAlike(WendleObject record, Mask mask, bool readsTags, WObjectReader* reader) const
{
    const std::span<const uint8_t> tags = record.tags.first(readsTags ? record.tags.size() : 0);
    size_t portAt = 0;
    if (!areNumbers(tags, &portAt)) {
        return;
    }
    const size_t size = wmsg::kObjectHeaderSize + record.tags.size();
    const std::span<const uint8_t> left = reader->left();
    size_t at = 0;
    for (; isSequel(left.subspan(at), record); at += size) {
        const uint8_t* const others = left.data() + at + wmsg::kObjectHeaderSize;
        const bool suits = portAt > 0 && (mask & mByPort[wmsg::get32(others + portAt)]) != 0;
        if (suits || !haveSameHeaders(tags, others)) {
            break;
        }
    }
    reader->skip(at);
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

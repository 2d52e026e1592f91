#include "proxy/faults/rulesieve.h"

#include <cstring>
#include <utility>

namespace proxy {

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

RuleSieve::Mask RuleSieve::find(MessageFacts* message) const
{
    const SegmentHeader header = message->header();
    const Mask mask = mByFlags[header.flags()] & mByMessageType[header.type()];
    const Mask asking = mask & ~mWithoutRecord;
    return asking == 0 ? mask : (mask & mWithoutRecord) | findInRecords(message->payload(), asking);
}

/// Takes fewer steps than to read the tags.
bool RuleSieve::Shape::fits(std::span<const uint8_t> record) const
{
    const uint8_t* at = first.data();
    const uint8_t* other = record.data();
    if (!repeats || record.size() < first.size() || std::memcmp(at, other, wmsg::kObjectHeaderSize) != 0) {
        return false;
    }
    const size_t size = readsTags ? first.size() : 0;
    for (size_t tag = wmsg::kObjectHeaderSize; tag < size; tag += wmsg::kNumberTagSize) {
        if (std::memcmp(at + tag, other + tag, wmsg::kTagHeaderSize) != 0) {
            return false;
        }
    }
    return true;
}

RuleSieve::Mask RuleSieve::findInRecords(std::span<const uint8_t> payload, Mask wanted) const
{
    Mask found = 0;
    WObjectReader reader(payload);
    for (WendleObject record; found != wanted && reader.next(&record);) {
        const Shape shape = shapeOf(record, wanted & ~found);
        if (const Mask suited = shape.mask & shape.ports; suited != 0) {
            found |= confirmed(record, suited);
        }
        for (; shape.fits(reader.left()); reader.skip(shape.first.size())) {
            if (const Mask suited = suitedBy(shape, reader.left().data()) & ~found; suited != 0) {
                record.tags = reader.left().subspan(wmsg::kObjectHeaderSize, record.tags.size());
                found |= confirmed(record, suited);
            }
        }
    }
    return found;
}

RuleSieve::Shape RuleSieve::shapeOf(const WendleObject& record, Mask wanted) const
{
    Shape shape;
    shape.first = {record.tags.data() - wmsg::kObjectHeaderSize,
                   wmsg::kObjectHeaderSize + record.tags.size()};
    shape.mask = wanted & mByObject[record.type];
    shape.ports = ~Mask{0};
    shape.readsTags = (shape.mask & ~(mWithoutPort & mWithoutTag)) != 0;
    if (shape.readsTags) {
        readTags(record, &shape);
    }
    return shape;
}

void RuleSieve::readTags(const WendleObject& record, Shape* shape) const
{
    Mask tags = mWithoutTag;
    size_t numbers = 0;
    size_t ports = 0;
    shape->ports = mWithoutPort;
    WTagReader reader(record.tags);
    for (WTagView tag; reader.next(&tag);) {
        tags |= mByTag[tag.number];
        numbers += tag.value.size() == wmsg::kNumberSize ? 1 : 0;
        uint32_t port = 0;
        if (zulcommand::readPort(tag, &port)) {
            ++ports;
            shape->ports |= mByPort[port];
            shape->portAt = static_cast<size_t>(tag.value.data() - shape->first.data());
        }
    }
    shape->mask &= tags;
    shape->repeats = ports <= 1 && numbers * wmsg::kNumberTagSize == record.tags.size();
}

/// The rules that @p record, which has the shape, suits.
RuleSieve::Mask RuleSieve::suitedBy(const Shape& shape, const uint8_t* record) const
{
    return shape.mask &
           (shape.portAt == 0 ? shape.ports : mWithoutPort | mByPort[wmsg::get32(record + shape.portAt)]);
}

/// Leaves out the rules that are in @p mask only because they share something.
RuleSieve::Mask RuleSieve::confirmed(const WendleObject& record, Mask mask) const
{
    Mask chosen = 0;
    forEach(mask,
            [&](size_t number) { chosen |= choosesRecord(*mRules[number], record) ? bitOf(number) : 0; });
    return chosen;
}

} // namespace proxy

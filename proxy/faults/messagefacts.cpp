#include "proxy/faults/messagefacts.h"

#include <algorithm>
#include <utility>

namespace proxy {

using zulcommand::anyTag;

namespace {

bool canActOn(const Rule& rule, const WendleObject& record)
{
    if (rule.kind == eFault::NAN_FLOATS) {
        return anyTag(record, isFloat);
    }
    const std::optional<uint16_t> changed = changedTag(rule);
    return !changed || anyTag(record, [&](const WTagView& tag) { return tag.number == *changed; });
}

} // namespace

bool isFloat(const WTagView& tag)
{
    return tag.number >= 1 && tag.number <= zuldict::tags().size() && tag.value.size() == wmsg::kNumberSize &&
           zuldict::entry(static_cast<eTag>(tag.number)).wireType == zuldict::eWireType::FLOAT;
}

const std::vector<WendleObject>* MessageFacts::records()
{
    if (mRead == NOT_YET) {
        mRead = zulcommand::readRecords(payload(), &mMemory.records) ? READABLE : UNREADABLE;
    }
    return mRead == READABLE ? &mMemory.records : nullptr;
}

std::span<const uint8_t> MessageFacts::payload()
{
    if (mMessage.segments == 1) {
        return mMessage.bytes.subspan(wmsg::kHeaderSize);
    }
    if (!std::exchange(mJoined, true)) {
        joinPayload();
    }
    return mMemory.payload;
}

void MessageFacts::joinPayload()
{
    mMemory.payload.clear();
    mMemory.payload.reserve(mMessage.bytes.size());
    for (std::span<const uint8_t> left = mMessage.bytes; !left.empty();) {
        const auto payload = left.subspan(wmsg::kHeaderSize, SegmentHeader(left.data()).length());
        mMemory.payload.insert(mMemory.payload.end(), payload.begin(), payload.end());
        left = left.subspan(wmsg::kHeaderSize + payload.size());
    }
}

bool choosesRecord(const Rule& rule, const WendleObject& record)
{
    return choosesObject(rule, record) && canActOn(rule, record);
}

std::optional<uint16_t> changedTag(const Rule& rule)
{
    switch (rule.kind) {
    case eFault::FIELD:
    case eFault::DROP_TAG:
    case eFault::WRONG_LENGTH:
        return rule.change.field->tag;
    case eFault::WRONG_SERIAL:
        return TAG_DEVICE_SERIAL;
    default:
        return std::nullopt;
    }
}

bool asksForRecord(const Rule& rule)
{
    return rule.object || rule.port || layerOf(rule.kind) == eFaultLayer::RECORD;
}

bool choosesRecords(const Rule& rule, MessageFacts* message)
{
    if (!asksForRecord(rule)) {
        return true;
    }
    const std::vector<WendleObject>* records = message->records();
    return records != nullptr && std::ranges::any_of(*records, [&rule](const WendleObject& record) {
               return choosesRecord(rule, record);
           });
}

} // namespace proxy

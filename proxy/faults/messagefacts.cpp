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
    return (!rule.object || *rule.object == record.type) &&
           (!rule.port || zulcommand::hasPort(record, *rule.port)) && canActOn(rule, record);
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

std::optional<uint8_t> typeOf(Rule::eMessage message)
{
    // docs/protocol.md has the types.
    switch (message) {
    case Rule::SET:
        return 0;
    case Rule::GET:
        return 1;
    case Rule::EVENT:
        return 3;
    default:
        return std::nullopt;
    }
}

bool choosesFlags(const Rule& rule, uint8_t flags)
{
    const bool control = (flags & wmsg::kFlagControl) != 0;
    const bool answer = (flags & wmsg::kFlagAnswer) != 0;
    if (!rule.message) {
        return !(control && rule.type);
    }
    return *rule.message == Rule::PING ? control : !control && answer == (*rule.message == Rule::ANSWER);
}

bool choosesHeader(const Rule& rule, const SegmentHeader& header)
{
    const std::optional<uint8_t> type = rule.message ? typeOf(*rule.message) : std::nullopt;
    return choosesFlags(rule, header.flags()) && (!type || *type == header.type()) &&
           (!rule.type || *rule.type == header.type());
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

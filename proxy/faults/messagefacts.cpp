#include "proxy/faults/messagefacts.h"

#include <algorithm>

namespace proxy {

namespace {

constexpr uint32_t kEveryDevice = 0xFFFFFFFF;

bool isMessage(Rule::eMessage wanted, const SegmentHeader& header)
{
    // docs/protocol.md has the types.
    constexpr uint8_t kSet = 0;
    constexpr uint8_t kRequest = 1;
    constexpr uint8_t kEvent = 3;
    const bool control = header.has(wmsg::kFlagControl);
    const bool answer = header.has(wmsg::kFlagAnswer);
    switch (wanted) {
    case Rule::GET:
        return !control && !answer && header.type() == kRequest;
    case Rule::SET:
        return !control && !answer && header.type() == kSet;
    case Rule::EVENT:
        return !control && !answer && header.type() == kEvent;
    case Rule::ANSWER:
        return !control && answer;
    case Rule::PING:
        return control;
    }
    return false;
}

template <class Condition>
bool anyTag(const WendleObject& record, Condition holds)
{
    WTagReader reader(record.tags);
    for (WTagView tag; reader.next(&tag);) {
        if (holds(tag)) {
            return true;
        }
    }
    return false;
}

bool hasPort(const WendleObject& record, uint32_t port)
{
    return anyTag(record, [port](const WTagView& tag) {
        uint32_t number = 0;
        return (tag.number == TAG_PORT_ID || tag.number == TAG_PORT_NUM) &&
               wmsg::getNumber(tag.value, &number) && number == port;
    });
}

bool canActOn(const Rule& rule, const WendleObject& record)
{
    std::span<const uint8_t> value;
    switch (rule.kind) {
    case eFault::FIELD:
    case eFault::DROP_TAG:
    case eFault::WRONG_LENGTH:
        return findTag(record, rule.change.field->tag, &value);
    case eFault::WRONG_SERIAL:
        return findTag(record, TAG_DEVICE_SERIAL, &value);
    case eFault::NAN_FLOATS:
        return anyTag(record, isFloat);
    default:
        return true;
    }
}

bool isWhole(const WendleObject& record)
{
    WTagReader reader(record.tags);
    for (WTagView tag; reader.next(&tag);) {
    }
    return reader.status().isOk();
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
        mRead = readRecords() ? READABLE : UNREADABLE;
    }
    return mRead == READABLE ? &mMemory.records : nullptr;
}

std::span<const uint8_t> MessageFacts::joinedPayload()
{
    if (mMessage.segments == 1) {
        return mMessage.bytes.subspan(wmsg::kHeaderSize);
    }
    mMemory.payload.clear();
    mMemory.payload.reserve(mMessage.bytes.size());
    for (std::span<const uint8_t> left = mMessage.bytes; !left.empty();) {
        const auto payload = left.subspan(wmsg::kHeaderSize, SegmentHeader(left.data()).length());
        mMemory.payload.insert(mMemory.payload.end(), payload.begin(), payload.end());
        left = left.subspan(wmsg::kHeaderSize + payload.size());
    }
    return mMemory.payload;
}

bool MessageFacts::readRecords()
{
    mMemory.records.clear();
    WObjectReader reader(joinedPayload());
    for (WendleObject record; reader.next(&record);) {
        if (!isWhole(record)) {
            return false;
        }
        mMemory.records.push_back(record);
    }
    return reader.status().isOk();
}

bool findTag(const WendleObject& record, uint16_t tag, std::span<const uint8_t>* value)
{
    bool found = false;
    WTagReader reader(record.tags);
    for (WTagView next; reader.next(&next);) {
        if (next.number == tag) {
            *value = next.value;
            found = true;
        }
    }
    return found;
}

bool choosesRecord(const Rule& rule, const WendleObject& record)
{
    return (!rule.object || *rule.object == record.type) && (!rule.port || hasPort(record, *rule.port)) &&
           canActOn(rule, record);
}

bool choosesHeader(const Rule& rule, const SegmentHeader& header)
{
    if (rule.message && !isMessage(*rule.message, header)) {
        return false;
    }
    const bool pingUnasked = header.has(wmsg::kFlagControl) && !rule.message;
    return !rule.type || (*rule.type == header.type() && !pingUnasked);
}

bool choosesRecords(const Rule& rule, MessageFacts* message)
{
    if (!rule.object && !rule.port && layerOf(rule.kind) != eFaultLayer::RECORD) {
        return true;
    }
    const std::vector<WendleObject>* records = message->records();
    return records != nullptr && std::ranges::any_of(*records, [&rule](const WendleObject& record) {
               return choosesRecord(rule, record);
           });
}

std::optional<uint32_t> deviceSerialIn(MessageFacts* message)
{
    const std::vector<WendleObject>* records = message->records();
    if (records == nullptr) {
        return std::nullopt;
    }
    for (const WendleObject& record : *records) {
        std::span<const uint8_t> value;
        uint32_t serial = kEveryDevice;
        if (findTag(record, TAG_DEVICE_SERIAL, &value) && wmsg::getNumber(value, &serial) &&
            serial != kEveryDevice) {
            return serial;
        }
    }
    return std::nullopt;
}

} // namespace proxy

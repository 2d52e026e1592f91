#include "proxy/faults/recordedit.h"

#include <algorithm>
#include <array>

#include "proxy/faults/faulttext.h"
#include "proxy/faults/messagefacts.h"

namespace proxy {

namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t kNaN = 0x7FC00000;

/// The most that a rule makes of a payload by doubling its records.
constexpr size_t kMaxPayload = 2 * wmsg::kMaxMessageBytes;

void appendTag(uint16_t number, std::span<const uint8_t> value, size_t saidLength, Bytes* to)
{
    std::array<uint8_t, wmsg::kTagHeaderSize> header;
    wmsg::put32(header.data(), wmsg::tagHeader(number, saidLength));
    to->insert(to->end(), header.begin(), header.end());
    to->insert(to->end(), value.begin(), value.end());
}

void appendTag(uint16_t number, std::span<const uint8_t> value, Bytes* to)
{
    appendTag(number, value, value.size(), to);
}

std::array<uint8_t, wmsg::kNumberSize> bytesOf(uint32_t number)
{
    std::array<uint8_t, wmsg::kNumberSize> bytes;
    wmsg::put32(bytes.data(), number);
    return bytes;
}

/// Calls @p replace for each tag of @p tags with the tag and the bytes that it appends to. Returns these.
template <class Replace>
Bytes rewritten(const Bytes& tags, Replace replace)
{
    Bytes result;
    result.reserve(tags.size());
    WTagReader reader(tags);
    for (WTagView tag; reader.next(&tag);) {
        replace(tag, &result);
    }
    return result;
}

/// Replaces each tag @p number by what @p append appends. Returns the last value before; nothing without the
/// tag.
template <class Append>
std::optional<Bytes> replaceTag(Bytes* tags, uint16_t number, Append append)
{
    std::optional<Bytes> before;
    *tags = rewritten(*tags, [&](const WTagView& tag, Bytes* to) {
        if (tag.number == number) {
            before = Bytes(tag.value.begin(), tag.value.end());
            append(tag, to);
        } else {
            appendTag(tag.number, tag.value, to);
        }
    });
    return before;
}

/// False once another rule has made the tags unreadable: then there is nothing to find in them.
bool areReadable(const Bytes& tags)
{
    WTagReader reader(tags);
    for (WTagView tag; reader.next(&tag);) {
    }
    return reader.status().isOk();
}

/// The value that @p change gives, as it travels.
Bytes valueOf(const FieldChange& change)
{
    if (change.field->wireType == zuldict::eWireType::TEXT) {
        return {change.text.begin(), change.text.end()};
    }
    const auto bytes = bytesOf(change.bits);
    return {bytes.begin(), bytes.end()};
}

} // namespace

RecordEdit::RecordEdit(const std::vector<WendleObject>& came)
{
    mRecords.reserve(came.size());
    for (const WendleObject& record : came) {
        mRecords.push_back({record, record.type, {record.tags.begin(), record.tags.end()}});
    }
}

RecordEdit::Edit RecordEdit::editFor(eFault kind)
{
    switch (kind) {
    case eFault::FIELD:
        return setField;
    case eFault::WRONG_SERIAL:
        return setSerial;
    case eFault::UNKNOWN_OBJECT:
        return setType;
    case eFault::UNKNOWN_TAG:
        return addTag;
    case eFault::DROP_TAG:
        return dropTag;
    case eFault::WRONG_LENGTH:
        return setWrongLength;
    case eFault::DROP_RECORD:
        return drop;
    case eFault::DOUBLE_RECORD:
        return twice;
    case eFault::NAN_FLOATS:
        return setFloatsToNaN;
    default:
        return nullptr;
    }
}

std::optional<Change> RecordEdit::apply(const Rule& rule, cSeededRandom* draws)
{
    const Edit edit = editFor(rule.kind);
    const bool doubles = rule.kind == eFault::DOUBLE_RECORD;
    if (edit == nullptr || (doubles && payload().size() > kMaxPayload / 2)) {
        return std::nullopt;
    }
    const uint64_t drawn = draws->next();
    std::optional<Change> first;
    for (Edited& record : mRecords) {
        if (record.times == 0 || !areReadable(record.tags) || !choosesRecord(rule, record.came)) {
            continue;
        }
        const std::optional<Change> change = edit(rule, drawn, &record);
        if (!first) {
            first = change;
        }
    }
    return first;
}

Bytes RecordEdit::payload() const
{
    Bytes bytes;
    for (const Edited& record : mRecords) {
        for (uint32_t i = 0; i < record.times; ++i) {
            append(record, &bytes);
        }
    }
    return bytes;
}

void RecordEdit::append(const Edited& record, Bytes* bytes)
{
    std::array<uint8_t, wmsg::kObjectHeaderSize> header;
    wmsg::putObjectHeader(header.data(), record.type, record.tags.size());
    bytes->insert(bytes->end(), header.begin(), header.end());
    bytes->insert(bytes->end(), record.tags.begin(), record.tags.end());
}

std::optional<Change> RecordEdit::setField(const Rule& rule, uint64_t /*drawn*/, Edited* record)
{
    const FieldChange& change = rule.change;
    const Bytes value = valueOf(change);
    const auto before = replaceTag(&record->tags, change.field->tag, [&](const WTagView& tag, Bytes* to) {
        if (!change.absent) {
            appendTag(tag.number, value, to);
        }
    });
    if (!before) {
        return std::nullopt;
    }
    return Change{valueText(*change.field, *before),
                  change.absent ? "null" : valueText(*change.field, value)};
}

/// Neither the one that was there nor that of every device.
std::optional<Change> RecordEdit::setSerial(const Rule& /*rule*/, uint64_t drawn, Edited* record)
{
    std::span<const uint8_t> value;
    uint32_t serial = 0;
    if (!zulcommand::findTag({0, record->tags}, TAG_DEVICE_SERIAL, &value) ||
        !wmsg::getNumber(value, &serial)) {
        return std::nullopt;
    }
    constexpr uint32_t kEveryDevice = 0xFFFFFFFF;
    auto other = static_cast<uint32_t>(drawn % kEveryDevice);
    other = other == serial ? (other + 1) % kEveryDevice : other;
    replaceTag(&record->tags, TAG_DEVICE_SERIAL,
               [other](const WTagView& tag, Bytes* to) { appendTag(tag.number, bytesOf(other), to); });
    return Change{std::to_string(serial), std::to_string(other)};
}

std::optional<Change> RecordEdit::setType(const Rule& /*rule*/, uint64_t drawn, Edited* record)
{
    constexpr uint32_t kFirstUnknown = 1'000'000;
    const std::string before = objectText(record->type);
    record->type = kFirstUnknown + static_cast<uint32_t>(drawn % (uint64_t{0xFFFFFFFF} - kFirstUnknown + 1));
    return Change{before, objectText(record->type)};
}

std::optional<Change> RecordEdit::addTag(const Rule& /*rule*/, uint64_t drawn, Edited* record)
{
    constexpr uint16_t kFirstUnknown = 1000;
    const auto number = static_cast<uint16_t>(kFirstUnknown + drawn % (0x10000 - kFirstUnknown));
    const size_t before = record->tags.size();
    appendTag(number, bytesOf(static_cast<uint32_t>(drawn >> 32)), &record->tags);
    return Change{"", hexText(std::span(record->tags).subspan(before))};
}

std::optional<Change> RecordEdit::dropTag(const Rule& rule, uint64_t /*drawn*/, Edited* record)
{
    const zuldict::TagEntry& field = *rule.change.field;
    const auto before = replaceTag(&record->tags, field.tag, [](const WTagView&, Bytes*) {});
    return before ? std::optional(Change{valueText(field, *before), ""}) : std::nullopt;
}

/// A number or a float loses its last byte. The length of a text says more than there is, so a text that more
/// bytes follow than a length can say goes to the end.
std::optional<Change> RecordEdit::setWrongLength(const Rule& rule, uint64_t /*drawn*/, Edited* record)
{
    constexpr size_t kMaxLength = wmsg::kMaxTextBytes;
    const zuldict::TagEntry& field = *rule.change.field;
    const bool isText = field.wireType == zuldict::eWireType::TEXT;
    Bytes atEnd;
    size_t after = 0;
    const size_t size = record->tags.size();
    const uint8_t* begin = record->tags.data();
    const auto before = replaceTag(&record->tags, field.tag, [&](const WTagView& tag, Bytes* to) {
        if (!isText) {
            after = std::max<size_t>(tag.value.size(), 1) - 1;
            appendTag(tag.number, tag.value.first(after), to);
            return;
        }
        after = kMaxLength;
        const auto at = static_cast<size_t>(tag.value.data() - begin);
        const auto value = tag.value.first(std::min(tag.value.size(), kMaxLength - 1));
        const bool tooMuchFollows = size - at >= kMaxLength;
        appendTag(tag.number, tooMuchFollows ? value : tag.value, kMaxLength, tooMuchFollows ? &atEnd : to);
    });
    record->tags.insert(record->tags.end(), atEnd.begin(), atEnd.end());
    if (!before) {
        return std::nullopt;
    }
    return Change{std::to_string(before->size()) + " bytes", std::to_string(after) + " bytes"};
}

std::optional<Change> RecordEdit::drop(const Rule& /*rule*/, uint64_t /*drawn*/, Edited* record)
{
    Bytes before;
    append(*record, &before);
    record->times = 0;
    return Change{hexText(before), ""};
}

std::optional<Change> RecordEdit::twice(const Rule& /*rule*/, uint64_t /*drawn*/, Edited* record)
{
    Bytes before;
    append(*record, &before);
    record->times *= 2;
    return Change{hexText(before), "twice"};
}

std::optional<Change> RecordEdit::setFloatsToNaN(const Rule& /*rule*/, uint64_t /*drawn*/, Edited* record)
{
    std::optional<Change> first;
    record->tags = rewritten(record->tags, [&first](const WTagView& tag, Bytes* to) {
        if (!isFloat(tag)) {
            appendTag(tag.number, tag.value, to);
            return;
        }
        const auto value = bytesOf(kNaN);
        const zuldict::TagEntry& field = zuldict::entry(static_cast<eTag>(tag.number));
        if (!first) {
            first = Change{valueText(field, tag.value), valueText(field, value)};
        }
        appendTag(tag.number, value, to);
    });
    return first;
}

} // namespace proxy

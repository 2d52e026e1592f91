#pragma once

// The walks of cRecord, for a source file that instantiates a record class.

#include <algorithm>
#include <utility>

#include "zulobj/jsonvalue.h"
#include "zulobj/record.h"

// What each wire type does. A number is a uint32_t or a float.
namespace zulobj::wire {

inline bool lacksText(auto /*number*/) { return true; }
inline bool lacksText(const cText& text) { return !text.isSet(); }

inline size_t tagSize(auto /*number*/) { return wmsg::kNumberTagSize; }
inline size_t tagSize(const cText& text) { return text.isSet() ? wmsg::textTagSize(text.bytes()) : 0; }

inline uint8_t* put(uint8_t* to, eTag tag, auto number) { return wmsg::putNumberTag(to, tag, number); }
inline uint8_t* put(uint8_t* to, eTag tag, const cText& text)
{
    return text.isSet() ? wmsg::putTextTag(to, tag, text.bytes()) : to;
}

inline bool take(WTagReader* tags, eTag tag, auto* number) { return tags->takeNumber(tag, number); }
inline bool take(WTagReader* tags, eTag tag, cText* text)
{
    std::string_view bytes;
    if (tags->takeText(tag, &bytes)) {
        text->set(bytes);
    } else {
        text->clear(); // a text never set has no tag
    }
    return true;
}

inline bool set(std::span<const uint8_t> bytes, auto* number) { return wmsg::getNumber(bytes, number); }
inline bool set(std::span<const uint8_t> bytes, cText* text)
{
    text->set(wmsg::getText(bytes));
    return true;
}

} // namespace zulobj::wire

/// Calls @p visit with the member that @p field names.
template <class Record, class Field, class Visit>
inline auto visitField(Record& record, const Field& field, Visit visit)
{
    return std::visit([&](auto member) { return visit(record.*member); }, field.member);
}

/// Calls @p visit with each field of the table and its member, in straight code, while it returns true.
/// Returns whether it always did.
template <class Record, class Visit>
inline bool visitFields(Record& record, Visit visit)
{
    static constexpr auto kTable = std::remove_const_t<Record>::table();
    return [&]<size_t... I>(std::index_sequence<I...>)
    {
        return (visitField(record, kTable[I], [&](auto& member) { return visit(kTable[I], member); }) && ...);
    }
    (std::make_index_sequence<kTable.size()>{});
}

/// Writes the whole object and returns its end.
template <class Record>
inline uint8_t* putFields(const Record& record, eObjectTypes type, uint8_t* to)
{
    to = wmsg::putObjectHeader(to, type, record.Record::encodedSize() - wmsg::kObjectHeaderSize);
    visitFields(record, [&to](const auto& field, const auto& member) {
        to = zulobj::wire::put(to, field.tag, member);
        return true;
    });
    return to;
}

/// Gives the field of @p tag its value. A tag without a field is skipped.
template <class Record>
WStatus setField(Record* record, uint16_t tag, std::span<const uint8_t> value)
{
    const auto fields = Record::fields();
    const auto field = std::ranges::find(fields, tag, &cField<Record>::tag);
    if (field == fields.end() ||
        visitField(*record, *field, [value](auto& member) { return zulobj::wire::set(value, &member); })) {
        return WStatus::ok();
    }
    return WStatus::error(zuldict::entry(field->tag).name, "is not 4 bytes long");
}

template <class Record, class Base, eObjectTypes Type>
cTagList cRecord<Record, Base, Type>::getTags() const
{
    std::vector<uint8_t> bytes(encodedSize());
    encode(bytes.data());
    cTagList tags;
    WTagView tag;
    for (WTagReader reader{std::span(bytes).subspan(wmsg::kObjectHeaderSize)}; reader.next(&tag);) {
        tags.emplace_back(tag.number, tag.value);
    }
    return tags;
}

template <class Record, class Base, eObjectTypes Type>
json_t* cRecord<Record, Base, Type>::getJSONObj() const
{
    json_t* json = cObject::getJSONObj();
    for (const Field& field : fields()) {
        const zuldict::TagEntry& entry = zuldict::entry(field.tag);
        json_t* value =
            visitField(self(), field, [&](const auto& member) { return zulobj::toJSON(entry, member); });
        json_object_set_new(json, entry.name, value);
    }
    return json;
}

template <class Record, class Base, eObjectTypes Type>
WStatus cRecord<Record, Base, Type>::parse(WendleObject* object, std::vector<WTag*>* tags)
{
    WStatus status = WStatus::ok();
    if (tags != nullptr) {
        for (auto tag = tags->begin(); tag != tags->end() && status.isOk(); ++tag) {
            status = setField(&self(), (*tag)->number(), (*tag)->value());
        }
        return status;
    }
    WTagReader reader(object->tags);
    WTagView tag;
    while (status.isOk() && reader.next(&tag)) {
        status = setField(&self(), tag.number, tag.value);
    }
    return status.isOk() ? reader.status() : status;
}

template <class Record, class Base, eObjectTypes Type>
WStatus cRecord<Record, Base, Type>::parse(json_t* json)
{
    WStatus status = this->checkJSONType(json);
    for (const Field& field : fields()) {
        const zuldict::TagEntry& entry = zuldict::entry(field.tag);
        json_t* value = json_object_get(json, entry.name);
        if (value != nullptr && status.isOk()) {
            status = visitField(self(), field,
                                [&](auto& member) { return zulobj::fromJSON(entry, value, &member); });
        }
    }
    return status;
}

/// @p other as a record of this class if it is one, of the same type; else null.
template <class Record, class Base, eObjectTypes Type>
const Record* cRecord<Record, Base, Type>::sameKind(const cObject* other) const
{
    const auto* record = dynamic_cast<const Record*>(other);
    return record != nullptr && record->getType() == this->getType() ? record : nullptr;
}

/// The key fields in the table's order.
template <class Record, class Base, eObjectTypes Type>
std::vector<uint32_t> cRecord<Record, Base, Type>::key() const
{
    std::vector<uint32_t> key;
    for (const Field& field : fields()) {
        if (field.key) {
            key.push_back(self().*field.number());
        }
    }
    return key;
}

template <class Record, class Base, eObjectTypes Type>
bool cRecord<Record, Base, Type>::compIndex(cObject* other) const
{
    const Record* record = sameKind(other);
    return record != nullptr && key() == record->key();
}

template <class Record, class Base, eObjectTypes Type>
bool cRecord<Record, Base, Type>::operator<(cObject& other) const
{
    const Record* record = sameKind(&other);
    return record != nullptr ? key() < record->key() : this->getType() < other.getType();
}

template <class Record, class Base, eObjectTypes Type>
void cRecord<Record, Base, Type>::printKey() const
{
    std::string key;
    for (const Field& field : fields()) {
        if (field.key) {
            key += std::string(" ") + zuldict::entry(field.tag).name + '=' +
                   std::to_string(self().*field.number());
        }
    }
    this->logKey(key);
}

template <class Record, class Base, eObjectTypes Type>
cObject* cRecord<Record, Base, Type>::clone() const
{
    // A copy made by a base class is a plain record of that base, so the type is the base's own.
    auto* copy = new Record(self());
    copy->setType(Type);
    return copy;
}

template <class Record, class Base, eObjectTypes Type>
cObject* cRecord<Record, Base, Type>::cloneKey() const
{
    auto* copy = new Record;
    for (const Field& field : fields()) {
        if (field.key) {
            copy->*field.number() = self().*field.number();
        }
    }
    return copy;
}

template <class Record, class Base, eObjectTypes Type>
size_t cRecord<Record, Base, Type>::encodedSize() const
{
    size_t size = wmsg::kObjectHeaderSize;
    visitFields(self(), [&size](const auto&, const auto& member) {
        size += zulobj::wire::tagSize(member);
        return true;
    });
    return size;
}

template <class Record, class Base, eObjectTypes Type>
uint8_t* cRecord<Record, Base, Type>::putWithTexts(uint8_t* to) const
{
    return putFields(self(), Type, to);
}

template <class Record, class Base, eObjectTypes Type>
uint8_t* cRecord<Record, Base, Type>::encode(uint8_t* to) const
{
    // Without a text no function is called, so no register is saved.
    const bool numbersOnly =
        visitFields(self(), [](const auto&, const auto& member) { return zulobj::wire::lacksText(member); });
    return numbersOnly ? putFields(self(), Type, to) : putWithTexts(to);
}

template <class Record, class Base, eObjectTypes Type>
WStatus cRecord<Record, Base, Type>::decode(std::span<const uint8_t> tags)
{
    WTagReader reader(tags);
    const bool numbersOnly = visitFields(self(), [&reader](const auto& field, auto& member) {
        if constexpr (std::is_same_v<decltype(member), cText&>) {
            member.clear();
            return true;
        } else {
            return zulobj::wire::take(&reader, field.tag, &member);
        }
    });
    return numbersOnly && reader.atEnd() ? WStatus::ok() : decodeWithTexts(tags);
}

template <class Record, class Base, eObjectTypes Type>
WStatus cRecord<Record, Base, Type>::decodeWithTexts(std::span<const uint8_t> tags)
{
    WTagReader reader(tags);
    const bool inOrder = visitFields(self(), [&reader](const auto& field, auto& member) {
        return zulobj::wire::take(&reader, field.tag, &member);
    });
    if (inOrder && reader.atEnd()) {
        return WStatus::ok();
    }
    // The tags stand in another order than the table's, or unknown and absent ones are among them.
    self() = Record();
    return cObject::decode(tags);
}

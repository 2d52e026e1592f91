#pragma once

// The walks of cRecord. Only the source files of the record classes include this.

#include <algorithm>
#include <sstream>
#include <utility>

#include "zulobj/jsonvalue.h"
#include "zulobj/record.h"

/// One table of the fields of a base and those of a class derived from it.
template <class Record, size_t A, size_t B>
constexpr std::array<cField<Record>, A + B> joinFields(const std::array<cField<Record>, A>& base,
                                                       const std::array<cField<Record>, B>& own)
{
    return [&]<size_t... I, size_t... J>(std::index_sequence<I...>, std::index_sequence<J...>)
    {
        return std::array<cField<Record>, A + B>{base[I]..., own[J]...};
    }
    (std::make_index_sequence<A>{}, std::make_index_sequence<B>{});
}

// What each wire type does, by overloads for the three kinds of member.
namespace zulobj::wire {

inline bool lacksText(uint32_t) { return true; }
inline bool lacksText(float) { return true; }
inline bool lacksText(const cText& text) { return !text.isSet(); }

inline size_t tagSize(uint32_t) { return wmsg::kNumberTagSize; }
inline size_t tagSize(float) { return wmsg::kNumberTagSize; }
inline size_t tagSize(const cText& text) { return text.isSet() ? wmsg::textTagSize(text.bytes()) : 0; }

inline uint8_t* put(uint8_t* to, eTag tag, uint32_t value) { return wmsg::putNumberTag(to, tag, value); }
inline uint8_t* put(uint8_t* to, eTag tag, float value) { return wmsg::putFloatTag(to, tag, value); }
inline uint8_t* put(uint8_t* to, eTag tag, const cText& text)
{
    return text.isSet() ? wmsg::putTextTag(to, tag, text.bytes()) : to;
}

inline bool take(WTagReader* tags, eTag tag, uint32_t* value) { return tags->takeNumber(tag, value); }
inline bool take(WTagReader* tags, eTag tag, float* value) { return tags->takeFloat(tag, value); }
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

inline bool set(std::span<const uint8_t> bytes, uint32_t* value) { return wmsg::getNumber(bytes, value); }
inline bool set(std::span<const uint8_t> bytes, float* value) { return wmsg::getFloat(bytes, value); }
inline bool set(std::span<const uint8_t> bytes, cText* text)
{
    text->set(wmsg::getText(bytes));
    return true;
}

} // namespace zulobj::wire

/// Calls @p visit with the member that @p field names.
template <class Record, class Field, class Visit>
[[gnu::always_inline]] inline auto visitField(Record& record, const Field& field, Visit visit)
{
    if (field.number != nullptr) {
        return visit(record.*field.number);
    }
    return field.real != nullptr ? visit(record.*field.real) : visit(record.*field.text);
}

/// Calls @p visit with each field of the table and its member, in straight code, while it returns true.
/// Returns whether it always did.
template <class Record, class Visit>
[[gnu::always_inline]] inline bool visitFields(Record& record, Visit visit)
{
    static constexpr auto kTable = std::remove_const_t<Record>::table();
    return [&]<size_t... I>(std::index_sequence<I...>) __attribute__((always_inline))
    {
        return (visitField(record, kTable[I], [&](auto& member) { return visit(kTable[I], member); }) && ...);
    }
    (std::make_index_sequence<kTable.size()>{});
}

template <class Record>
[[gnu::always_inline]] inline size_t tagsSize(const Record& record)
{
    size_t size = 0;
    visitFields(record, [&size](const auto&, const auto& member) {
        size += zulobj::wire::tagSize(member);
        return true;
    });
    return size;
}

/// Writes the whole object and returns its end.
template <class Record>
[[gnu::always_inline]] inline uint8_t* putFields(const Record& record, eObjectTypes type, uint8_t* to)
{
    to = wmsg::putObjectHeader(to, type, tagsSize(record));
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
std::span<const cField<Record>> cRecord<Record, Base, Type>::fields()
{
    static constexpr auto kTable = Record::table();
    return kTable;
}

template <class Record, class Base, eObjectTypes Type>
cTagList cRecord<Record, Base, Type>::getTags() const
{
    std::vector<uint8_t> bytes(encodedSize());
    encode(bytes.data());
    cTagList tags;
    WendleObject object;
    WTagView tag;
    WObjectReader(bytes).next(&object);
    for (WTagReader reader(object.tags); reader.next(&tag);) {
        tags.add(tag);
    }
    return tags;
}

template <class Record, class Base, eObjectTypes Type>
json_t* cRecord<Record, Base, Type>::getJSONObj() const
{
    json_t* json = cObject::getJSONObj();
    for (const cField<Record>& field : Record::fields()) {
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
    for (const cField<Record>& field : Record::fields()) {
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

template <class Record, class Base, eObjectTypes Type>
bool cRecord<Record, Base, Type>::compIndex(cObject* other) const
{
    const Record* record = sameKind(other);
    return record != nullptr && std::ranges::all_of(Record::fields(), [&](const cField<Record>& field) {
               return !field.key || self().*field.number == record->*field.number;
           });
}

template <class Record, class Base, eObjectTypes Type>
bool cRecord<Record, Base, Type>::operator<(cObject& other) const
{
    const Record* record = sameKind(&other);
    if (record == nullptr) {
        return this->getType() < other.getType();
    }
    for (const cField<Record>& field : Record::fields()) {
        if (field.key && self().*field.number != record->*field.number) {
            return self().*field.number < record->*field.number;
        }
    }
    return false;
}

template <class Record, class Base, eObjectTypes Type>
void cRecord<Record, Base, Type>::printKey() const
{
    std::ostringstream key;
    for (const cField<Record>& field : Record::fields()) {
        if (field.key) {
            key << ' ' << zuldict::entry(field.tag).name << '=' << self().*field.number;
        }
    }
    this->logKey(key.str());
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
    for (const cField<Record>& field : Record::fields()) {
        if (field.key) {
            copy->*field.number = self().*field.number;
        }
    }
    return copy;
}

template <class Record, class Base, eObjectTypes Type>
size_t cRecord<Record, Base, Type>::encodedSize() const
{
    return wmsg::kObjectHeaderSize + tagsSize(self());
}

template <class Record, class Base, eObjectTypes Type>
uint8_t* cRecord<Record, Base, Type>::putWithTexts(uint8_t* to) const
{
    return putFields(self(), Type, to);
}

template <class Record, class Base, eObjectTypes Type>
uint8_t* cRecord<Record, Base, Type>::encode(uint8_t* to) const
{
    // Without texts nothing is called and no register is saved.
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
    return inOrder && reader.atEnd() ? WStatus::ok() : decodeAnyOrder(tags);
}

/// Decodes tags that stand in another order than the table's, unknown and absent ones among them.
template <class Record, class Base, eObjectTypes Type>
WStatus cRecord<Record, Base, Type>::decodeAnyOrder(std::span<const uint8_t> tags)
{
    self() = Record();
    WendleObject object{Type, tags};
    return parse(&object, nullptr);
}

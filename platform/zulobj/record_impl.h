#ifndef ZULOBJ_RECORD_IMPL_H
#define ZULOBJ_RECORD_IMPL_H

// The walks of cRecord. Only the source files of the record classes include this.

#include <array>
#include <sstream>
#include <utility>

#include "zulobj/jsonvalue.h"
#include "zulobj/record.h"

/// One table of the fields of a base and those of a class derived from it.
template <class Record, size_t A, size_t B, size_t... I, size_t... J>
constexpr std::array<cField<Record>, A + B> joinFields(const std::array<cField<Record>, A>& base,
                                                       const std::array<cField<Record>, B>& own,
                                                       std::index_sequence<I...>, std::index_sequence<J...>)
{
    return {base[I]..., own[J]...};
}

template <class Record, size_t A, size_t B>
constexpr std::array<cField<Record>, A + B> joinFields(const std::array<cField<Record>, A>& base,
                                                       const std::array<cField<Record>, B>& own)
{
    return joinFields(base, own, std::make_index_sequence<A>{}, std::make_index_sequence<B>{});
}

/// Finds tags in a table: those of a well-behaved sender come in the table's order, so the search begins
/// where the last one ended.
template <class Record>
class cFieldFinder
{
public:
    explicit cFieldFinder(cFieldTable<Record> table) : mTable(table) {}

    /// The field of @p tag, or null for an unknown one.
    const cField<Record>* find(uint16_t tag)
    {
        for (size_t step = 0; step < mTable.count; ++step) {
            const size_t index = mNext;
            mNext = mNext + 1 == mTable.count ? 0 : mNext + 1;
            if (mTable.first[index].tag == tag) {
                return mTable.first + index;
            }
        }
        return nullptr;
    }

private:
    cFieldTable<Record> mTable;
    size_t mNext = 0;
};

template <class Record>
WStatus setField(Record* record, const cField<Record>& field, const uint8_t* value, size_t size)
{
    if (field.text != nullptr) {
        (record->*field.text).set(reinterpret_cast<const char*>(value), size);
        return WStatus::ok();
    }
    if (size != 4) {
        return WStatus::error(zuldict::entry(field.tag).name, "is not 4 bytes long");
    }
    if (field.number != nullptr) {
        record->*field.number = wmsg::numberValue(value);
    } else {
        record->*field.real = wmsg::floatValue(value);
    }
    return WStatus::ok();
}

template <class Record, class Base, eObjectTypes Type>
cTagList cRecord<Record, Base, Type>::getTags() const
{
    cTagList tags;
    for (const cField<Record>& field : Record::fields()) {
        if (field.number != nullptr) {
            tags.addNumber(field.tag, self().*field.number);
        } else if (field.real != nullptr) {
            tags.addFloat(field.tag, self().*field.real);
        } else if ((self().*field.text).isSet()) {
            tags.addText(field.tag, (self().*field.text).bytes());
        }
    }
    return tags;
}

template <class Record, class Base, eObjectTypes Type>
json_t* cRecord<Record, Base, Type>::getJSONObj() const
{
    json_t* json = cObject::getJSONObj();
    for (const cField<Record>& field : Record::fields()) {
        const zuldict::TagEntry& entry = zuldict::entry(field.tag);
        json_t* value = nullptr;
        if (field.number != nullptr) {
            value = zulobj::numberToJSON(entry, self().*field.number);
        } else if (field.real != nullptr) {
            value = zulobj::floatToJSON(self().*field.real);
        } else {
            value = zulobj::textToJSON(self().*field.text);
        }
        json_object_set_new(json, entry.name, value);
    }
    return json;
}

template <class Record, class Base, eObjectTypes Type>
WStatus cRecord<Record, Base, Type>::parse(WendleObject* object, std::vector<WTag*>* tags)
{
    cFieldFinder<Record> finder(Record::fields());
    if (tags != nullptr) {
        for (const WTag* tag : *tags) {
            const cField<Record>* field = finder.find(tag->number());
            const WStatus status =
                field == nullptr ? WStatus::ok() : setField(&self(), *field, tag->value(), tag->size());
            if (!status.isOk()) {
                return status;
            }
        }
        return WStatus::ok();
    }
    WTagReader reader(*object);
    WTagView tag;
    while (reader.next(&tag)) {
        const cField<Record>* field = finder.find(tag.number);
        const WStatus status =
            field == nullptr ? WStatus::ok() : setField(&self(), *field, tag.value, tag.size);
        if (!status.isOk()) {
            return status;
        }
    }
    return reader.status();
}

template <class Record, class Base, eObjectTypes Type>
WStatus cRecord<Record, Base, Type>::parse(json_t* json)
{
    WStatus status = this->checkJSONType(json);
    for (const cField<Record>& field : Record::fields()) {
        const zuldict::TagEntry& entry = zuldict::entry(field.tag);
        json_t* value = json_object_get(json, entry.name);
        if (value == nullptr || !status.isOk()) {
            continue;
        }
        if (field.number != nullptr) {
            status = zulobj::numberFromJSON(entry, value, &(self().*field.number));
        } else if (field.real != nullptr) {
            status = zulobj::floatFromJSON(entry, value, &(self().*field.real));
        } else {
            status = zulobj::textFromJSON(entry, value, &(self().*field.text));
        }
    }
    return status;
}

template <class Record, class Base, eObjectTypes Type>
bool cRecord<Record, Base, Type>::compIndex(cObject* other) const
{
    const auto* record = dynamic_cast<const Record*>(other);
    if (record == nullptr || record->getType() != this->getType()) {
        return false;
    }
    for (const cField<Record>& field : Record::fields()) {
        if (field.key && self().*field.number != record->*field.number) {
            return false;
        }
    }
    return true;
}

template <class Record, class Base, eObjectTypes Type>
bool cRecord<Record, Base, Type>::operator<(cObject& other) const
{
    const auto* record = dynamic_cast<const Record*>(&other);
    if (record == nullptr || record->getType() != this->getType()) {
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
void cRecord<Record, Base, Type>::encode(WPayloadWriter* writer) const
{
    writer->beginObject(this->getType());
    for (const cField<Record>& field : Record::fields()) {
        if (field.number != nullptr) {
            writer->putNumber(field.tag, self().*field.number);
        } else if (field.real != nullptr) {
            writer->putFloat(field.tag, self().*field.real);
        } else if ((self().*field.text).isSet()) {
            const std::string& text = (self().*field.text).bytes();
            writer->putText(field.tag, text.data(), text.size());
        }
    }
    writer->endObject();
}

#endif

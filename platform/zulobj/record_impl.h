#ifndef ZULOBJ_RECORD_IMPL_H
#define ZULOBJ_RECORD_IMPL_H

// The walks of cRecord. Only the source files of the record classes include this.

#include <array>
#include <sstream>
#include <typeinfo>
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

/// What encoding and decoding know of a record's table at compile time.
template <class Record>
struct cCodec
{
    static constexpr auto kTable = Record::table();
    using Indexes = std::make_index_sequence<kTable.size()>;

    static constexpr size_t numberTags()
    {
        size_t count = 0;
        for (const cField<Record>& field : kTable) {
            count += field.text == nullptr ? 1 : 0;
        }
        return count;
    }

    /// The tags of a record without a text, in bytes.
    static constexpr size_t kNumberBytes = numberTags() * wmsg::kNumberTagSize;
    static constexpr size_t kNumberObject = wmsg::kObjectHeaderSize + kNumberBytes;

    /// What a text adds to that.
    static size_t textBytes(const cText& text)
    {
        if (!text.isSet()) {
            return 0;
        }
        return wmsg::kTagHeaderSize + wmsg::tagTextSize(text.bytes().data(), text.bytes().size());
    }

    template <size_t I>
    static size_t textBytesOf(const Record& record)
    {
        constexpr cField<Record> field = kTable[I];
        if constexpr (field.text != nullptr) {
            return textBytes(record.*field.text);
        } else {
            return 0;
        }
    }

    template <size_t... I>
    static size_t tagBytes(const Record& record, std::index_sequence<I...>)
    {
        return kNumberBytes + (textBytesOf<I>(record) + ... + 0);
    }

    template <size_t I>
    static uint8_t* put(const Record& record, uint8_t* to)
    {
        constexpr cField<Record> field = kTable[I];
        if constexpr (field.number != nullptr) {
            return wmsg::putNumberTag(to, field.tag, record.*field.number);
        } else if constexpr (field.real != nullptr) {
            return wmsg::putNumberTag(to, field.tag, wmsg::floatBits(record.*field.real));
        } else if ((record.*field.text).isSet()) {
            const std::string_view text = (record.*field.text).bytes();
            return wmsg::putBytesTag(to, field.tag, text.data(), wmsg::tagTextSize(text.data(), text.size()));
        } else {
            return to;
        }
    }

    template <size_t... I>
    static void putAll(const Record& record, uint8_t* to, std::index_sequence<I...>)
    {
        ((to = put<I>(record, to)), ...);
    }

    template <size_t I>
    static bool lacksText(const Record& record)
    {
        constexpr cField<Record> field = kTable[I];
        if constexpr (field.text != nullptr) {
            return !(record.*field.text).isSet();
        } else {
            return true;
        }
    }

    template <size_t... I>
    static bool lacksTexts(const Record& record, std::index_sequence<I...>)
    {
        return (lacksText<I>(record) && ...);
    }

    template <size_t I>
    static uint8_t* putNumber(const Record& record, uint8_t* to)
    {
        if constexpr (kTable[I].text != nullptr) {
            return to;
        } else {
            return put<I>(record, to);
        }
    }

    /// Writes the object of a record that lacks its texts; it takes kNumberObject bytes.
    template <size_t... I>
    [[gnu::always_inline]] static inline uint8_t* putNumbers(const Record& record, uint32_t type, uint8_t* to,
                                                             std::index_sequence<I...>)
    {
        to = wmsg::putObjectHeader(to, type, kNumberBytes);
        ((to = putNumber<I>(record, to)), ...);
        return to;
    }

    static constexpr size_t kTexts = kTable.size() - numberTags();

    /// The most that a record with short texts alone takes, and what is written beyond it.
    static constexpr size_t kShortObject =
        wmsg::kObjectHeaderSize + kNumberBytes + kTexts * (wmsg::kTagHeaderSize + cText::kShortRoom);

    template <size_t I>
    static bool isShort(const Record& record)
    {
        constexpr cField<Record> field = kTable[I];
        if constexpr (field.text != nullptr) {
            return (record.*field.text).isShort();
        } else {
            return true;
        }
    }

    template <size_t... I>
    static bool isShort(const Record& record, std::index_sequence<I...>)
    {
        return (isShort<I>(record) && ...);
    }

    template <size_t I>
    static uint8_t* putShort(const Record& record, uint8_t* to)
    {
        constexpr cField<Record> field = kTable[I];
        if constexpr (field.text == nullptr) {
            return put<I>(record, to);
        } else {
            const cText& text = record.*field.text;
            // Whoever lacks the only text has not come here.
            const bool set = kTexts == 1 || text.isSet();
            return set ? wmsg::putShortTag<cText::kShortRoom>(to, field.tag, text.shortBytes()) : to;
        }
    }

    /// Writes the object of a record with short texts, one of them at least, where there is room for
    /// kShortObject bytes.
    template <size_t... I>
    static uint8_t* putShorts(const Record& record, uint32_t type, uint8_t* to, std::index_sequence<I...>)
    {
        uint8_t* const header = to;
        to += wmsg::kObjectHeaderSize;
        ((to = putShort<I>(record, to)), ...);
        wmsg::putObjectHeader(header, type, static_cast<size_t>(to - header) - wmsg::kObjectHeaderSize);
        return to;
    }

    /// The place from which on there may be too little room for another kShortObject bytes.
    static const uint8_t* lastPlace(const uint8_t* to, const uint8_t* end)
    {
        return static_cast<size_t>(end - to) < kShortObject ? to : end - kShortObject;
    }

    /// Writes the object of any record, with as much room as it takes.
    [[gnu::noinline]] static void encodeAny(const Record& record, uint32_t type, WPayloadWriter* writer)
    {
        uint8_t* to = writer->room(0);
        if (lacksTexts(record, Indexes()) && static_cast<size_t>(writer->roomEnd() - to) >= kNumberObject) {
            writer->wroteTo(putNumbers(record, type, to, Indexes()));
        } else {
            encode(record, type, writer);
        }
    }

    static void encode(const Record& record, uint32_t type, WPayloadWriter* writer)
    {
        const size_t tags = tagBytes(record, Indexes());
        uint8_t* to = writer->room(wmsg::kObjectHeaderSize + tags);
        putAll(record, wmsg::putObjectHeader(to, type, tags), Indexes());
        writer->wrote(wmsg::kObjectHeaderSize + tags);
    }

    /// Takes field I of an object whose tags are all the numbers of the table in order, and nothing else.
    template <size_t I>
    static bool takeNumber(Record* record, const uint8_t** at)
    {
        constexpr cField<Record> field = kTable[I];
        if constexpr (field.text != nullptr) {
            (record->*field.text).clear();
            return true;
        } else {
            if (wmsg::get32(*at) != wmsg::numberTagHeader(field.tag)) {
                return false;
            }
            if constexpr (field.number != nullptr) {
                record->*field.number = wmsg::numberValue(*at + wmsg::kTagHeaderSize);
            } else {
                record->*field.real = wmsg::floatValue(*at + wmsg::kTagHeaderSize);
            }
            *at += wmsg::kNumberTagSize;
            return true;
        }
    }

    /// False, with some of the fields taken, where the tags at @p at, kNumberBytes of them, are others.
    template <size_t... I>
    static bool takeNumbers(Record* record, const uint8_t* at, std::index_sequence<I...>)
    {
        return (takeNumber<I>(record, &at) && ...);
    }

    /// Takes field I of an object whose tags stand in the table's order; a text may be absent.
    template <size_t I>
    static bool takeNext(Record* record, const uint8_t** at, const uint8_t* end)
    {
        constexpr cField<Record> field = kTable[I];
        const size_t left = static_cast<size_t>(end - *at);
        if constexpr (field.text != nullptr) {
            if (left < wmsg::kTagHeaderSize || wmsg::get16(*at) != field.tag) {
                (record->*field.text).clear();
                return true;
            }
            const size_t size = wmsg::get16(*at + 2);
            if (size > left - wmsg::kTagHeaderSize) {
                return false;
            }
            (record->*field.text).set(reinterpret_cast<const char*>(*at + wmsg::kTagHeaderSize), size);
            *at += wmsg::kTagHeaderSize + size;
            return true;
        } else {
            return left >= wmsg::kNumberTagSize && takeNumber<I>(record, at);
        }
    }

    /// False, with some of the fields taken, where the tags don't stand in the table's order.
    template <size_t... I>
    static bool takeAll(Record* record, const WendleObject& object, std::index_sequence<I...>)
    {
        const uint8_t* at = object.tags;
        const uint8_t* end = object.tags + object.size;
        return (takeNext<I>(record, &at, end) && ...) && at == end;
    }
};

template <class Record, class Base, eObjectTypes Type>
cFieldTable<Record> cRecord<Record, Base, Type>::fields()
{
    return {cCodec<Record>::kTable.data(), cCodec<Record>::kTable.size()};
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
bool cRecord<Record, Base, Type>::cloneInto(cObject* spare) const
{
    using Codec = cCodec<Record>;
    const cObject& other = *spare;
    if (&typeid(other) != &typeid(Record)) {
        return false;
    }
    auto& copy = static_cast<Record&>(*spare);
    if (!Codec::isShort(self(), typename Codec::Indexes()) ||
        !Codec::isShort(copy, typename Codec::Indexes())) {
        return copyLong(&copy);
    }
    copy = self();
    copy.setType(Type);
    return true;
}

/// Does the same with texts that take memory, out of the way of those that don't. Returns true.
template <class Record, class Base, eObjectTypes Type>
bool cRecord<Record, Base, Type>::copyLong(Record* copy) const
{
    *copy = self();
    copy->setType(Type);
    return true;
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
    cCodec<Record>::encode(self(), Type, writer);
}

template <class Record, class Base, eObjectTypes Type>
void cRecord<Record, Base, Type>::encodeRun(WPayloadWriter* writer, cObject::cRun* run) const
{
    using Codec = cCodec<Record>;
    // What lies in the writer would be read again after every byte that is written.
    uint8_t* to = writer->room(0);
    const uint8_t* last = Codec::lastPlace(to, writer->roomEnd());
    cObject::cRun left = *run;
    for (; left.count > 0; --left.count, ++left.at) {
        const auto& record = static_cast<const Record&>(**left.at);
        if (to < last && Codec::lacksTexts(record, typename Codec::Indexes())) {
            to = Codec::putNumbers(record, Type, to, typename Codec::Indexes());
        } else if (to < last && Codec::isShort(record, typename Codec::Indexes())) {
            to = Codec::putShorts(record, Type, to, typename Codec::Indexes());
        } else {
            writer->wroteTo(to);
            Codec::encodeAny(record, Type, writer);
            to = writer->room(0);
            last = Codec::lastPlace(to, writer->roomEnd());
        }
    }
    writer->wroteTo(to);
    *run = left;
}

/// Fills the record with an object of its type whose tags are not all its numbers in order: the next one of
/// @p objects, or where @p numbers is not null the tags there, which are as long.
template <class Record>
WStatus parseOther(const uint8_t* numbers, WObjectReader* objects, Record* record)
{
    WendleObject object{record->getType(), numbers, cCodec<Record>::kNumberBytes};
    if (numbers == nullptr && !objects->next(&object)) {
        return objects->status();
    }
    if (cCodec<Record>::takeAll(record, object, typename cCodec<Record>::Indexes())) {
        return WStatus::ok();
    }
    // Tags in another order, unknown ones among them, or a fault.
    *record = Record();
    return record->parse(&object, nullptr);
}

template <class Record, class Base, eObjectTypes Type>
WStatus cRecord<Record, Base, Type>::parseRun(WObjectReader* reader, cObject::cRun* run)
{
    using Codec = cCodec<Record>;
    WObjectReader objects = *reader;
    cObject::cRun left = *run;
    WStatus status = WStatus::ok();
    for (; left.count > 0; --left.count, ++left.at) {
        auto& record = static_cast<Record&>(**left.at);
        const uint8_t* numbers = objects.nextIf(Type, Codec::kNumberBytes);
        if (numbers != nullptr && Codec::takeNumbers(&record, numbers, typename Codec::Indexes())) {
            continue;
        }
        if (numbers == nullptr && !objects.nextIs(Type)) {
            break;
        }
        // Nobody else knows the copy, so that it stays in registers.
        *reader = objects;
        status = parseOther(numbers, reader, &record);
        objects = *reader;
        if (!status.isOk()) {
            break;
        }
    }
    *reader = objects;
    *run = left;
    return status;
}

#endif

#pragma once

#include <array>
#include <span>
#include <variant>

#include "zulobj/object.h"
#include "zulobj/text.h"

/// One field of a record class: its tag, its member by wire type, and whether it is part of the key, as only
/// numbers are. Enumerators are held as numbers.
template <class Record>
struct cField
{
    eTag tag;
    std::variant<uint32_t Record::*, float Record::*, cText Record::*> member;
    bool key = false;

    uint32_t Record::*number() const { return std::get<uint32_t Record::*>(member); }
};

/// Implements every operation of a record by walking Record::table(), an array of its fields in the order in
/// which they are sent.
///
/// A record class derives from cRecord<itself, its base, its type> and has such a table. record_impl.h has
/// the walks; recordfactory.cpp instantiates them. As the table is a constant, encoding and decoding become
/// straight code.
template <class Record, class Base, eObjectTypes Type>
class cRecord : public Base
{
public:
    cTagList getTags() const override;
    json_t* getJSONObj() const override;
    WStatus parse(WendleObject* object, std::vector<WTag*>* tags) override;
    WStatus parse(json_t* json) override;
    bool compIndex(cObject* other) const override;
    bool operator<(cObject& other) const override;
    void printKey() const override;
    cObject* clone() const override;
    cObject* cloneKey() const override;
    size_t encodedSize() const override;
    [[gnu::flatten]] uint8_t* encode(uint8_t* to) const override;
    [[gnu::flatten]] WStatus decode(std::span<const uint8_t> tags) override;

    static std::span<const cField<Record>> fields()
    {
        static constexpr auto kTable = Record::table();
        return kTable;
    }

protected:
    using Field = cField<Record>;

    cRecord() : Base(Type) {}
    explicit cRecord(eObjectTypes type) : Base(type) {}

private:
    [[gnu::noinline, gnu::flatten]] uint8_t* putWithTexts(uint8_t* to) const;
    [[gnu::noinline, gnu::flatten]] WStatus decodeWithTexts(std::span<const uint8_t> tags);
    const Record* sameKind(const cObject* other) const;
    std::vector<uint32_t> key() const;

    const Record& self() const { return static_cast<const Record&>(*this); }
    Record& self() { return static_cast<Record&>(*this); }
};

#pragma once

#include <array>
#include <span>

#include "zulobj/object.h"
#include "zulobj/text.h"

/// One field of a record class: its tag, its member and whether it is part of the key.
///
/// A number, a float or a text; enumerators are held as numbers.
template <class Record>
struct cField
{
    constexpr cField(eTag fieldTag, uint32_t Record::*member, bool isKey = false)
        : tag(fieldTag), key(isKey), number(member)
    {}
    constexpr cField(eTag fieldTag, float Record::*member) : tag(fieldTag), real(member) {}
    constexpr cField(eTag fieldTag, cText Record::*member) : tag(fieldTag), text(member) {}

    eTag tag;
    bool key = false;
    uint32_t Record::*number = nullptr;
    float Record::*real = nullptr;
    cText Record::*text = nullptr;
};

/// Implements every operation of a record by walking the table that Record::table() returns.
///
/// A record class derives from cRecord<itself, its base, its type> and writes its table; record_impl.h has
/// the walks, which the record's source file instantiates below the table. So the compiler knows the table
/// and makes straight code of encoding and decoding.
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
    uint8_t* encode(uint8_t* to) const override;
    WStatus decode(std::span<const uint8_t> tags) override;

    /// The fields in the order in which they are sent.
    static std::span<const cField<Record>> fields();

protected:
    cRecord() : Base(Type) {}
    explicit cRecord(eObjectTypes type) : Base(type) {}

private:
    [[gnu::noinline]] uint8_t* putWithTexts(uint8_t* to) const;
    [[gnu::noinline]] WStatus decodeWithTexts(std::span<const uint8_t> tags);
    [[gnu::noinline]] WStatus decodeAnyOrder(std::span<const uint8_t> tags);
    const Record* sameKind(const cObject* other) const;

    const Record& self() const { return static_cast<const Record&>(*this); }
    Record& self() { return static_cast<Record&>(*this); }
};

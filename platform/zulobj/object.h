#pragma once

#include <cstdint>
#include <jansson.h>
#include <string>
#include <vector>

#include "wmsg/wpayload.h"
#include "wmsg/wstatus.h"
#include "zuldict/zuldict.h"
#include "zulobj/taglist.h"

/// The base of every record, and by itself a record of any type without fields.
///
/// Records are values without locks: one thread at a time. Their text getters return null for a text never
/// set, else a pointer that holds until the text is set again.
class cObject
{
public:
    enum eObjectIOState : uint32_t
    {
        OBJ_IO_STATE_UNKNOWN = 0,
        OBJ_IO_STATE_SET = 1,
        OBJ_IO_STATE_CLEAR = 2
    };

    enum eObjectStatus : uint32_t
    {
        OBJ_STATUS_ALARM_UNKNOWN = 0,
        OBJ_STATUS_ALARM_SET = 1,
        OBJ_STATUS_ALARM_CLEAR = 2,
        OBJ_STATUS_ALARM_WARN = 3
    };

    /// In a device serial or a port id: every device, every port.
    static constexpr uint32_t kWildcard = 0xFFFFFFFF;

    /// In a set: leave the sample rate as it is.
    static constexpr uint32_t kRateUnchanged = 0xFFFFFFFF;

    explicit cObject(eObjectTypes type) : mType(type) {}
    virtual ~cObject();

    /// The fields as tags, in the order of the record's table; a text never set has no tag.
    virtual cTagList getTags() const;

    /// A new reference, which the caller releases: "type" and the fields by the names of the dictionary.
    /// Enumerators stand by their names; NaN, infinity and a text never set are null.
    virtual json_t* getJSONObj() const;

    /// Fills the record from @p tags, or from the bytes of @p object if @p tags is null; both are borrowed.
    /// Unknown tags are skipped and absent ones leave their fields as they are. After an error the fields
    /// before the one at fault have been set.
    virtual WStatus parse(WendleObject* object, std::vector<WTag*>* tags);

    /// Fills the record from the form of getJSONObj(). Unknown and absent keys are skipped; an enumerator may
    /// also stand as its number. A null makes a float NaN and a text one never set.
    virtual WStatus parse(json_t* json);

    /// True when @p other is a record of the same class and type with equal key fields.
    virtual bool compIndex(cObject* other) const;

    /// Orders records by type, then by their key fields.
    virtual bool operator<(cObject& other) const;

    /// Writes the type and the key fields to the log category "zulobj", at level INFO.
    virtual void printKey() const;

    /// A new record of the record's own class, also for a widget; the caller owns it.
    virtual cObject* clone() const;

    /// A new record of the record's own class with its key fields alone; the caller owns it.
    virtual cObject* cloneKey() const;

    /// How many bytes the record takes in a message, its object header included.
    virtual size_t encodedSize() const;

    /// Writes these bytes to @p to and returns their end.
    virtual uint8_t* encode(uint8_t* to) const;

    /// Fills the record, which createRecord() made, from the tags of an object of its type. Nothing of the
    /// record's former content stays.
    virtual WStatus decode(std::span<const uint8_t> tags);

    eObjectTypes getType() const { return mType; }

protected:
    cObject(const cObject&) = default;
    cObject& operator=(const cObject&) = default;

    void setType(eObjectTypes type) { mType = type; }
    void logKey(const std::string& key) const;
    WStatus checkJSONType(json_t* json) const;

private:
    eObjectTypes mType;
};

#ifndef ZULOBJ_OBJECT_H
#define ZULOBJ_OBJECT_H

#include <cstdint>
#include <jansson.h>
#include <list>
#include <memory>
#include <vector>

#include "wmsg/wpayload.h"
#include "wmsg/wstatus.h"
#include "wmsg/wtag.h"
#include "zuldict/zuldict.h"
#include "zulobj/taglist.h"

/// The base of every record, and by itself a record of any type without fields.
///
/// Records are values without locks: one thread at a time.
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

    /// Fills the record from @p tags, or where that is null from the bytes of @p object, both borrowed.
    /// Unknown tags are skipped and absent ones leave their fields as they are. After an error the fields
    /// before the one at fault have been set.
    virtual WStatus parse(WendleObject* object, std::vector<WTag*>* tags);

    /// Fills the record from the form of getJSONObj(). Unknown and absent keys are passed over; an
    /// enumerator may also stand as its number. A null makes a float NaN and a text one never set.
    virtual WStatus parse(json_t* json);

    /// True when @p other is a record of the same class and type with equal key fields.
    virtual bool compIndex(cObject* other) const;

    /// Orders records by type, then by their key fields.
    virtual bool operator<(cObject& other) const;

    /// Writes the type and the key fields to the log category "zulobj", at level INFO.
    virtual void printKey() const;

    /// A new record of the record's own class, also for a widget; the caller owns it.
    virtual cObject* clone() const;

    /// Makes @p *spare what clone() would return. False, and nothing happens, where it is of another class.
    virtual bool cloneInto(cObject* spare) const;

    /// A new record of the record's own class with its key fields alone; the caller owns it.
    virtual cObject* cloneKey() const;

    /// Appends the record to a message.
    virtual void encode(WPayloadWriter* writer) const;

    /// Records of one class that stand one after the other in a list.
    struct cRun
    {
        std::list<cObject*>::const_iterator at;
        size_t count;
    };

    /// Appends the records of @p *run, of which this one is the first, and takes them out of it.
    virtual void encodeRun(WPayloadWriter* writer, cRun* run) const;

    /// Fills the records of @p *run, of which this one is the first and which create() made, with the objects
    /// of @p *reader, as long as those are of the records' type; the first one is. Nothing of a record's
    /// former content stays. @p *run then holds the records that have not been filled: after an error the one
    /// at fault and those behind it.
    virtual WStatus parseRun(WObjectReader* reader, cRun* run);

    eObjectTypes getType() const { return mType; }

    /// A new record of the class that @p type stands for; a plain cObject where no class does.
    static std::unique_ptr<cObject> create(eObjectTypes type);

protected:
    cObject(const cObject&) = default;
    cObject& operator=(const cObject&) = default;

    void setType(eObjectTypes type) { mType = type; }
    void logKey(const std::string& key) const;
    WStatus checkJSONType(json_t* json) const;

private:
    eObjectTypes mType;
};

#endif

#ifndef ZULOBJ_OBJECTLIST_H
#define ZULOBJ_OBJECTLIST_H

#include <array>
#include <list>
#include <memory>
#include <typeinfo>
#include <vector>

#include "wlog/wlog.h"
#include "wmsg/wmsg.h"
#include "zulobj/object.h"

/// One message's worth of records.
class cObjectList : public cWlog
{
public:
    /// The message types that the device knows; any other 8-bit value may arrive.
    static constexpr uint8_t kSet = 0;
    static constexpr uint8_t kRequest = 1;
    static constexpr uint8_t kEvent = 3;

    cObjectList();
    ~cObjectList();
    cObjectList(const cObjectList&) = delete;
    cObjectList& operator=(const cObjectList&) = delete;

    void setMsgType(uint8_t type) { mMsgType = type; }
    uint8_t getMsgType() const { return mMsgType; }

    /// The sequence number is the link's: it is set on received lists and ignored on lists to be sent.
    void setMsgSeq(uint8_t seq) { mMsgSeq = seq; }
    uint8_t getMsgSeq() const { return mMsgSeq; }

    /// The event flag of a received list; a list of type 3 is sent as an event whatever it says.
    void setEvent(bool event) { mEvent = event; }
    bool getEvent() const { return mEvent; }

    /// Appends @p object, which now belongs to the list. A null is kept and is skipped by encode().
    void add(cObject* object);

    /// Appends @p object, which stays the caller's and outlives the list.
    void addBorrowed(cObject* object);

    /// Appends what @p object's clone() would return, which belongs to the list: where reuse() has left a
    /// record of that class, that one becomes the clone.
    void addClone(const cObject& object)
    {
        if (mSpares != mObjects.end() && object.cloneInto(*mSpares)) {
            takeSpare();
        } else {
            addOtherClone(object);
        }
    }

    /// The same by the clone() of class @p Record, a base of the class that @p object is of.
    template <class Record>
    void addCloneAs(const Record& object)
    {
        if (bringSpares(Record::kType) && object.Record::cloneInto(*mSpares)) {
            takeSpare();
        } else {
            add(object.Record::clone());
        }
    }

    /// Empties the list like deleteObjects() but keeps its own records for addClone(), at most @p most of a
    /// type. Records of unknown types are freed.
    void reuse(size_t most);

    /// Walk the records in order; null after the last. The records stay the list's.
    cObject* first();
    cObject* next();

    /// How many entries there are, nulls included.
    size_t size() const;

    /// Frees the list's own records, those that reuse() left among them, and forgets the borrowed ones.
    void deleteObjects();

    /// Makes @p *message carry this list: its type, event flag and records, in order. The sequence number
    /// and the other flags are the link's. An error says that the message would be larger than permitted.
    WStatus encode(WMsg* message) const;

    /// Replaces the content by that of a received message. After an error the list holds the records
    /// before the one at fault. Records that an earlier decode() made are used again where type and place
    /// fit, so pointers to them see the new content.
    WStatus decode(const WMsg& message);

    /// A new reference: {"msgType", "msgSeq", "objects"}, nulls left out.
    json_t* getJSONObj() const;

    /// Replaces the content by that of getJSONObj()'s form; "msgSeq" may be left out.
    WStatus parse(json_t* json);

private:
    /// Records of one class that stand one after the other and are all the list's own or all borrowed; nulls
    /// have no class.
    struct cClassRun
    {
        const std::type_info* type;
        bool owned;
        size_t count;
    };

    using Records = std::list<cObject*>;

    /// By their types: the spare records that do not stand in mObjects.
    using Store = std::array<Records, OBJ_NUM_OBJECT_TYPES>;

    WStatus decode(WObjectReader* reader);
    void append(cObject* object, bool owned);
    void noteAdded(const std::type_info* type, bool owned);
    void beginRun(const std::type_info* type, bool owned);
    bool bringSpares(uint32_t type);
    void addOtherClone(const cObject& object);
    void storeFirst(uint32_t type, size_t count);
    void dropFirst(const cClassRun& run);
    void forgetObjects();

    /// Makes the spare record at mSpares the list's last one.
    void takeSpare()
    {
        const cObject& spare = **mSpares;
        if (mOpenClass != &typeid(spare)) {
            beginRun(&typeid(spare), true);
        }
        ++mRuns.back().count;
        ++mSpares;
    }

    /// Frees the records from @p from on, where all are the list's own and in order. Returns the end.
    Records::const_iterator truncate(Records::const_iterator from);

    Records mObjects; ///< the records; behind them spare ones, all of one type
    uint8_t mMsgType = kSet;
    uint8_t mMsgSeq = 0;
    bool mEvent = false;
    Records::iterator mNext; ///< never a spare record: the end of mObjects after the last one
    Records::iterator mSpares;
    uint32_t mSpareType = 0;
    std::vector<cClassRun> mRuns;               ///< all records, in order
    const std::type_info* mOpenClass = nullptr; ///< that of the last run where it is owned, else null
    bool mDecoded = false;         ///< the records are those that decode() made, all of them and in order
    std::unique_ptr<Store> mStore; ///< null until reuse()
};

#endif

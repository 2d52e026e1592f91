#pragma once

#include <list>
#include <memory>
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
    cObjectList(const cObjectList&) = delete;
    cObjectList& operator=(const cObjectList&) = delete;

    void setMsgType(uint8_t type) { mMsgType = type; }
    uint8_t getMsgType() const { return mMsgType; }

    /// The sequence number is the link's: it is set on received lists and ignored on lists to be sent.
    void setMsgSeq(uint8_t seq) { mMsgSeq = seq; }
    uint8_t getMsgSeq() const { return mMsgSeq; }

    /// The event flag of a received list; one to be sent is an event if its type is 3.
    bool getEvent() const { return mEvent; }

    /// Appends @p object, which now belongs to the list. A null is kept and is skipped by encode().
    void add(cObject* object);

    /// Appends @p object, which stays the caller's and outlives the list.
    void addBorrowed(cObject* object);

    /// Walk the records in order; null after the last. The records stay the list's.
    cObject* first();
    cObject* next();

    /// How many entries there are, nulls included.
    size_t size() const { return mObjects.size(); }

    /// Frees the list's own records and forgets the borrowed ones.
    void deleteObjects();

    /// Makes @p *message carry this list: its type, event flag and records, in order. The sequence number
    /// and the other flags are the link's. An error says that the message would be larger than permitted.
    WStatus encode(WMsg* message) const;

    /// Replaces the content by that of a received message. After an error the list holds the records before
    /// the one at fault. Records of an earlier decode() are reused if type and place fit, so pointers to them
    /// see the new content.
    WStatus decode(const WMsg& message);

    /// A new reference: {"msgType", "msgSeq", "objects"}, nulls left out.
    json_t* getJSONObj() const;

    /// Replaces the content by that of getJSONObj()'s form; "msgSeq" may be left out.
    WStatus parse(json_t* json);

private:
    void truncate(size_t count);

    std::list<cObject*> mObjects;
    uint8_t mMsgType = kSet;
    uint8_t mMsgSeq = 0;
    bool mEvent = false;
    std::list<cObject*>::iterator mNext;

    std::vector<std::unique_ptr<cObject>> mOwned; ///< the list's own records, in order
    bool mDecoded = false;                        ///< the records are those that decode() made
};

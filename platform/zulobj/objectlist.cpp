#include "zulobj/objectlist.h"

#include <numeric>
#include <typeinfo>

#include "zulobj/jsonvalue.h"

namespace {

WStatus byteFromJSON(json_t* json, const char* key, uint8_t* value)
{
    if (!json_is_integer(json) || json_integer_value(json) < 0 || json_integer_value(json) > 255) {
        return WStatus::error(key, "is not a whole number from 0 to 255");
    }
    *value = static_cast<uint8_t>(json_integer_value(json));
    return WStatus::ok();
}

void freeAll(std::list<cObject*>* records)
{
    for (const cObject* record : *records) {
        delete record;
    }
    records->clear();
}

} // namespace

cObjectList::cObjectList() : cWlog("zulobj.list"), mNext(mObjects.end()), mSpares(mObjects.end()) {}

cObjectList::~cObjectList() { deleteObjects(); }

void cObjectList::add(cObject* object)
{
    mDecoded = false;
    append(object, true);
}

void cObjectList::addBorrowed(cObject* object)
{
    mDecoded = false;
    append(object, false);
}

void cObjectList::append(cObject* object, bool owned)
{
    mObjects.insert(mSpares, object);
    noteAdded(object == nullptr ? nullptr : &typeid(*object), owned);
}

void cObjectList::noteAdded(const std::type_info* type, bool owned)
{
    if (mRuns.empty() || mRuns.back().type != type || mRuns.back().owned != owned) {
        beginRun(type, owned);
    }
    ++mRuns.back().count;
}

void cObjectList::beginRun(const std::type_info* type, bool owned)
{
    mRuns.push_back({type, owned, 0});
    mOpenClass = owned ? type : nullptr;
}

size_t cObjectList::size() const
{
    return std::accumulate(mRuns.begin(), mRuns.end(), size_t{0},
                           [](size_t sum, const cClassRun& run) { return sum + run.count; });
}

cObject* cObjectList::first()
{
    mNext = mRuns.empty() ? mObjects.end() : mObjects.begin();
    return next();
}

cObject* cObjectList::next()
{
    if (mNext == mObjects.end()) {
        return nullptr;
    }
    cObject* object = *mNext++;
    if (mNext == mSpares) {
        mNext = mObjects.end();
    }
    return object;
}

void cObjectList::deleteObjects()
{
    for (const cClassRun& run : mRuns) {
        dropFirst(run);
    }
    freeAll(&mObjects); // spare ones
    if (mStore) {
        for (Records& spares : *mStore) {
            freeAll(&spares);
        }
    }
    forgetObjects();
}

void cObjectList::reuse(size_t most)
{
    if (!mStore) {
        mStore = std::make_unique<Store>();
    }
    for (const cClassRun& run : mRuns) {
        const bool kept = run.owned && run.type != nullptr && mObjects.front()->getType() < mStore->size();
        if (kept) {
            storeFirst(mObjects.front()->getType(), run.count);
        } else {
            dropFirst(run);
        }
    }
    storeFirst(mSpareType, mObjects.size());
    for (Records& spares : *mStore) {
        for (; spares.size() > most; spares.pop_back()) {
            delete spares.back();
        }
    }
    forgetObjects();
}

/// Begins anew with no entries.
void cObjectList::forgetObjects()
{
    constexpr size_t kMaxRunsKept = 64;
    mRuns.clear();
    if (mRuns.capacity() > kMaxRunsKept) {
        mRuns.shrink_to_fit();
    }
    mOpenClass = nullptr;
    mDecoded = false;
    mNext = mObjects.end();
    mSpares = mObjects.end();
}

/// Takes the entries of @p run, which are the first ones, away.
void cObjectList::dropFirst(const cClassRun& run)
{
    for (size_t i = 0; i < run.count; ++i) {
        if (run.owned) {
            delete mObjects.front();
        }
        mObjects.pop_front();
    }
}

/// Moves the first @p count records, which are of @p type, to the store.
void cObjectList::storeFirst(uint32_t type, size_t count)
{
    Records& place = (*mStore)[type];
    if (count == mObjects.size()) {
        place.splice(place.end(), mObjects); // unlike a part, all are moved without a walk
    } else {
        place.splice(place.end(), mObjects, mObjects.begin(),
                     std::next(mObjects.begin(), static_cast<std::ptrdiff_t>(count)));
    }
}

void cObjectList::addOtherClone(const cObject& object)
{
    if (bringSpares(object.getType()) && object.cloneInto(*mSpares)) {
        takeSpare();
    } else {
        add(object.clone());
    }
}

/// Has the spare records of @p type stand at mSpares. False where there are none more.
bool cObjectList::bringSpares(uint32_t type)
{
    if (mSpares != mObjects.end() && mSpareType == type) {
        return true;
    }
    if (!mStore || type >= mStore->size() || (*mStore)[type].empty()) {
        return false;
    }
    Records& others = (*mStore)[mSpareType];
    others.splice(others.end(), mObjects, mSpares, mObjects.end());
    mSpareType = type;
    mSpares = (*mStore)[type].begin();
    mObjects.splice(mObjects.end(), (*mStore)[type]);
    return true;
}

WStatus cObjectList::encode(WMsg* message) const
{
    message->type = mMsgType;
    message->event = mMsgType == kEvent;
    WPayloadWriter writer(&message->payload, WPayloadWriter::REPLACE);
    auto at = mObjects.begin();
    for (const cClassRun& stretch : mRuns) {
        cObject::cRun run{at, stretch.count};
        if (stretch.type != nullptr) {
            (*at)->encodeRun(&writer, &run);
        }
        at = std::next(run.at, static_cast<std::ptrdiff_t>(run.count)); // nulls are left
        if (writer.size() > wmsg::kMaxMessageBytes) {
            return WStatus::error("message", "is larger than permitted");
        }
    }
    return WStatus::ok();
}

WStatus cObjectList::decode(const WMsg& message)
{
    if (!mDecoded) {
        deleteObjects();
    }
    mMsgType = message.type;
    mMsgSeq = message.seq;
    mEvent = message.event;
    mNext = mObjects.end();
    WObjectReader reader(message.payload.data(), message.payload.size());
    const WStatus status = decode(&reader);
    mDecoded = true;
    if (!status.isOk()) {
        return status;
    }
    // Fewer bytes than a header, if any, are left.
    WendleObject rest;
    reader.next(&rest);
    return reader.status();
}

WStatus cObjectList::decode(WObjectReader* reader)
{
    WStatus status = WStatus::ok();
    auto at = mObjects.cbegin();
    size_t stretch = 0; // begins at the record there
    uint32_t type = 0;
    while (status.isOk() && reader->peekType(&type)) {
        if (stretch < mRuns.size() && (*at)->getType() == type) {
            cObject::cRun run{at, mRuns[stretch].count};
            status = (*at)->parseRun(reader, &run);
            at = run.count == 0 ? run.at : truncate(run.at);
            ++stretch;
            continue;
        }
        truncate(at);
        append(cObject::create(static_cast<eObjectTypes>(type)).release(), true);
        cObject::cRun run{std::prev(mObjects.cend()), 1};
        status = (*run.at)->parseRun(reader, &run);
        at = truncate(run.at);
        stretch = mRuns.size();
    }
    truncate(at);
    return status;
}

cObjectList::Records::const_iterator cObjectList::truncate(Records::const_iterator from)
{
    for (auto count = std::distance(from, mObjects.cend()); count > 0; --count) {
        delete mObjects.back();
        mObjects.pop_back();
        if (--mRuns.back().count == 0) {
            mRuns.pop_back();
        }
    }
    mOpenClass = mRuns.empty() ? nullptr : mRuns.back().type; // all are owned
    return mObjects.cend();
}

json_t* cObjectList::getJSONObj() const
{
    json_t* objects = json_array();
    for (auto at = mObjects.begin(); at != mSpares; ++at) {
        if (*at != nullptr) {
            json_array_append_new(objects, (*at)->getJSONObj());
        }
    }
    json_t* json = json_object();
    json_object_set_new(json, "msgType", json_integer(mMsgType));
    json_object_set_new(json, "msgSeq", json_integer(mMsgSeq));
    json_object_set_new(json, "objects", objects);
    return json;
}

WStatus cObjectList::parse(json_t* json)
{
    deleteObjects();
    WStatus status = byteFromJSON(json_object_get(json, "msgType"), "msgType", &mMsgType);
    json_t* seq = json_object_get(json, "msgSeq");
    if (status.isOk() && seq != nullptr) {
        status = byteFromJSON(seq, "msgSeq", &mMsgSeq);
    }
    mEvent = mMsgType == kEvent;
    json_t* objects = json_object_get(json, "objects");
    if (status.isOk() && !json_is_array(objects)) {
        return WStatus::error("objects", "is not an array");
    }
    for (size_t i = 0; status.isOk() && i < json_array_size(objects); ++i) {
        json_t* entry = json_array_get(objects, i);
        uint32_t type = 0;
        status = zulobj::typeFromJSON(json_object_get(entry, "type"), &type);
        if (!status.isOk()) {
            break;
        }
        std::unique_ptr<cObject> object = cObject::create(static_cast<eObjectTypes>(type));
        status = object->parse(entry);
        if (status.isOk()) {
            add(object.release());
        }
    }
    return status;
}

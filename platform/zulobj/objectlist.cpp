#include "zulobj/objectlist.h"

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

} // namespace

cObjectList::cObjectList() : cWlog("zulobj.list"), mNext(mObjects.end()) {}

cObjectList::~cObjectList() { deleteObjects(); }

void cObjectList::add(cObject* object)
{
    mDecoded = false;
    noteAdded(object);
    mObjects.push_back(object);
    mOwned.push_back(object);
}

void cObjectList::addBorrowed(cObject* object)
{
    mDecoded = false;
    noteAdded(object);
    mObjects.push_back(object);
}

cObject* cObjectList::first()
{
    mNext = mObjects.begin();
    return next();
}

cObject* cObjectList::next() { return mNext == mObjects.end() ? nullptr : *mNext++; }

void cObjectList::deleteObjects()
{
    for (cObject* object : mOwned) {
        delete object;
    }
    mOwned.clear();
    mObjects.clear();
    mRuns.clear();
    mNext = mObjects.end();
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
        cObject::cRun run{append(cObject::create(static_cast<eObjectTypes>(type))), 1};
        status = (*run.at)->parseRun(reader, &run);
        at = truncate(run.at);
        stretch = mRuns.size();
    }
    truncate(at);
    return status;
}

void cObjectList::noteAdded(const cObject* object)
{
    const std::type_info* type = object == nullptr ? nullptr : &typeid(*object);
    if (mRuns.empty() || mRuns.back().type != type) {
        mRuns.push_back({type, 0});
    }
    ++mRuns.back().count;
}

std::list<cObject*>::const_iterator cObjectList::append(std::unique_ptr<cObject> object)
{
    noteAdded(object.get());
    mOwned.push_back(object.get());
    return mObjects.insert(mObjects.end(), object.release());
}

std::list<cObject*>::const_iterator cObjectList::truncate(std::list<cObject*>::const_iterator from)
{
    for (auto count = std::distance(from, mObjects.cend()); count > 0; --count) {
        delete mObjects.back();
        mObjects.pop_back();
        mOwned.pop_back();
        if (--mRuns.back().count == 0) {
            mRuns.pop_back();
        }
    }
    return mObjects.cend();
}

json_t* cObjectList::getJSONObj() const
{
    json_t* objects = json_array();
    for (const cObject* object : mObjects) {
        if (object != nullptr) {
            json_array_append_new(objects, object->getJSONObj());
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

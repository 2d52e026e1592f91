#include "zulobj/objectlist.h"

#include "zulobj/jsonvalue.h"
#include "zulobj/recordfactory.h"

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

void cObjectList::add(cObject* object)
{
    mOwned.emplace_back(object);
    addBorrowed(object);
}

void cObjectList::addBorrowed(cObject* object)
{
    mObjects.push_back(object);
    mDecoded = false;
}

cObject* cObjectList::first()
{
    mNext = mObjects.begin();
    return next();
}

cObject* cObjectList::next() { return mNext == mObjects.end() ? nullptr : *mNext++; }

void cObjectList::deleteObjects()
{
    mObjects.clear();
    mOwned.clear();
    mNext = mObjects.end();
    mDecoded = false;
}

WStatus cObjectList::encode(WMsg* message) const
{
    message->type = mMsgType;
    message->event = mMsgType == kEvent;
    size_t size = 0;
    for (const cObject* object : mObjects) {
        size += object == nullptr ? 0 : object->encodedSize();
    }
    if (size > wmsg::kMaxMessageBytes) {
        return WStatus::error("message", "is larger than permitted");
    }
    message->payload.resize(size);
    uint8_t* to = message->payload.data();
    for (const cObject* object : mObjects) {
        to = object == nullptr ? to : object->encode(to);
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
    WObjectReader reader(message.payload);
    WStatus status = WStatus::ok();
    auto at = mOwned.begin();
    for (WendleObject object; reader.next(&object); ++at) {
        if (at == mOwned.end() || (*at)->getType() != object.type) {
            truncate(static_cast<size_t>(at - mOwned.begin()));
            add(zulobj::createRecord(static_cast<eObjectTypes>(object.type)).release());
            at = std::prev(mOwned.end());
        }
        status = (*at)->decode(object.tags);
        if (!status.isOk()) {
            break;
        }
    }
    truncate(static_cast<size_t>(at - mOwned.begin()));
    mDecoded = true;
    return status.isOk() ? reader.status() : status;
}

/// Frees the records behind the first @p count, all of which the list owns.
void cObjectList::truncate(size_t count)
{
    mOwned.resize(count);
    mObjects.resize(count);
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
        status = zulobj::fromJSON(zulobj::kTypeEntry, json_object_get(entry, "type"), &type);
        if (!status.isOk()) {
            break;
        }
        std::unique_ptr<cObject> object = zulobj::createRecord(static_cast<eObjectTypes>(type));
        status = object->parse(entry);
        if (status.isOk()) {
            add(object.release());
        }
    }
    return status;
}

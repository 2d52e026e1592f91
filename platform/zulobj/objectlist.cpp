#include "zulobj/objectlist.h"

#include <memory>

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
    mObjects.push_back(object);
    mOwned.push_back(object);
}

void cObjectList::addBorrowed(cObject* object) { mObjects.push_back(object); }

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
    mNext = mObjects.end();
}

WStatus cObjectList::encode(WMsg* message) const
{
    message->type = mMsgType;
    message->event = mMsgType == kEvent;
    message->payload.clear();
    WPayloadWriter writer(&message->payload);
    for (const cObject* object : mObjects) {
        if (object == nullptr) {
            continue;
        }
        object->encode(&writer);
        if (message->payload.size() > wmsg::kMaxMessageBytes) {
            return WStatus::error("message", "is larger than permitted");
        }
    }
    return WStatus::ok();
}

WStatus cObjectList::decode(const WMsg& message)
{
    deleteObjects();
    mMsgType = message.type;
    mMsgSeq = message.seq;
    mEvent = message.event;
    WObjectReader reader(message.payload.data(), message.payload.size());
    WendleObject received;
    while (reader.next(&received)) {
        std::unique_ptr<cObject> object = cObject::create(static_cast<eObjectTypes>(received.type));
        const WStatus status = object->parse(&received, nullptr);
        if (!status.isOk()) {
            return status;
        }
        add(object.release());
    }
    return reader.status();
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

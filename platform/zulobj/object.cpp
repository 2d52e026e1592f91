#include "zulobj/object.h"

#include <string>

#include "wlog/wlog.h"
#include "zulobj/jsonvalue.h"

cObject::~cObject() = default;

cTagList cObject::getTags() const { return {}; }

json_t* cObject::getJSONObj() const
{
    json_t* json = json_object();
    json_object_set_new(json, "type", zulobj::toJSON(zulobj::kTypeEntry, mType));
    return json;
}

WStatus cObject::parse(WendleObject* object, std::vector<WTag*>* tags)
{
    if (tags != nullptr) {
        return WStatus::ok();
    }
    WTagReader reader(object->tags);
    WTagView tag;
    while (reader.next(&tag)) {
        // A record without fields knows no tag; the walk checks the bytes.
    }
    return reader.status();
}

WStatus cObject::parse(json_t* json) { return checkJSONType(json); }

bool cObject::compIndex(cObject* other) const { return other != nullptr && other->mType == mType; }

bool cObject::operator<(cObject& other) const { return mType < other.mType; }

void cObject::printKey() const { logKey({}); }

cObject* cObject::clone() const { return new cObject(*this); }

cObject* cObject::cloneKey() const { return clone(); }

size_t cObject::encodedSize() const { return wmsg::kObjectHeaderSize; }

uint8_t* cObject::encode(uint8_t* to) const { return wmsg::putObjectHeader(to, mType, 0); }

WStatus cObject::decode(std::span<const uint8_t> tags)
{
    WendleObject object{mType, tags};
    return parse(&object, nullptr);
}

void cObject::logKey(const std::string& key) const
{
    const char* name = zuldict::nameOf(zuldict::objectTypes(), mType);
    cWlog("zulobj").info(((name != nullptr ? name : std::to_string(mType)) + key).c_str());
}

WStatus cObject::checkJSONType(json_t* json) const
{
    if (!json_is_object(json)) {
        return WStatus::error("object", "is not a JSON object");
    }
    json_t* type = json_object_get(json, "type");
    uint32_t code = mType;
    const WStatus status =
        type == nullptr ? WStatus::ok() : zulobj::fromJSON(zulobj::kTypeEntry, type, &code);
    return !status.isOk() || code == mType ? status : WStatus::error("type", "is that of another record");
}

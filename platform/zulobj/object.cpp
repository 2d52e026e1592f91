#include "zulobj/object.h"

#include <string>
#include <typeinfo>

#include "wlog/wlog.h"
#include "zulobj/access.h"
#include "zulobj/adhoc.h"
#include "zulobj/ainput.h"
#include "zulobj/aoutput.h"
#include "zulobj/asample.h"
#include "zulobj/capability.h"
#include "zulobj/device.h"
#include "zulobj/dinput.h"
#include "zulobj/doutput.h"
#include "zulobj/jsonvalue.h"
#include "zulobj/port.h"

namespace {

std::string typeText(eObjectTypes type)
{
    const char* name = zuldict::nameOf(zuldict::objectTypes(), type);
    return name != nullptr ? name : std::to_string(type);
}

} // namespace

cObject::~cObject() = default;

cTagList cObject::getTags() const { return {}; }

json_t* cObject::getJSONObj() const
{
    json_t* json = json_object();
    json_object_set_new(json, "type", zulobj::typeToJSON(mType));
    return json;
}

WStatus cObject::parse(WendleObject* object, std::vector<WTag*>* tags)
{
    if (tags != nullptr) {
        return WStatus::ok();
    }
    WTagReader reader(*object);
    WTagView tag;
    while (reader.next(&tag)) {
        // Without fields every tag is an unknown one; the walk shows whether the bytes are sound.
    }
    return reader.status();
}

WStatus cObject::parse(json_t* json) { return checkJSONType(json); }

bool cObject::compIndex(cObject* other) const { return other != nullptr && other->mType == mType; }

bool cObject::operator<(cObject& other) const { return mType < other.mType; }

void cObject::printKey() const { logKey({}); }

cObject* cObject::clone() const { return new cObject(*this); }

bool cObject::cloneInto(cObject* spare) const
{
    if (typeid(*spare) != typeid(cObject)) {
        return false;
    }
    *spare = *this;
    return true;
}

cObject* cObject::cloneKey() const { return clone(); }

void cObject::encode(WPayloadWriter* writer) const
{
    writer->beginObject(mType);
    writer->endObject();
}

void cObject::encodeRun(WPayloadWriter* writer, cRun* run) const
{
    for (; run->count > 0; --run->count, ++run->at) {
        (*run->at)->encode(writer);
    }
}

WStatus cObject::parseRun(WObjectReader* reader, cRun* run)
{
    WendleObject object;
    if (!reader->next(&object)) {
        return reader->status();
    }
    const WStatus status = parse(&object, nullptr);
    if (status.isOk()) {
        ++run->at;
        --run->count;
    }
    return status;
}

std::unique_ptr<cObject> cObject::create(eObjectTypes type)
{
    switch (type) {
    case OBJ_DEVICE:
        return std::make_unique<cObjectDevice>();
    case OBJ_PORT:
        return std::make_unique<cObjectPort>();
    case OBJ_PORT_DIN:
        return std::make_unique<cObjectDInput>();
    case OBJ_PORT_DOUT:
        return std::make_unique<cObjectDOutput>();
    case OBJ_PORT_AIN:
        return std::make_unique<cObjectAInput>();
    case OBJ_PORT_AOUT:
        return std::make_unique<cObjectAOutput>();
    case OBJ_ANALOG_SAMPLE:
        return std::make_unique<cObjectAnalogSample>();
    case OBJ_ACCESS:
        return std::make_unique<cObjectAccess>();
    case OBJ_CAPABILITY:
        return std::make_unique<cObjectCapability>();
    case OBJ_ADHOC_EVENT:
        return std::make_unique<cObjectAdhocEvent>();
    default:
        return std::make_unique<cObject>(type);
    }
}

void cObject::logKey(const std::string& key) const
{
    const cWlog log("zulobj");
    log.info((typeText(mType) + key).c_str());
}

WStatus cObject::checkJSONType(json_t* json) const
{
    if (!json_is_object(json)) {
        return WStatus::error("object", "is not a JSON object");
    }
    json_t* type = json_object_get(json, "type");
    if (type == nullptr) {
        return WStatus::ok();
    }
    uint32_t code = 0;
    const WStatus status = zulobj::typeFromJSON(type, &code);
    if (!status.isOk()) {
        return status;
    }
    return code == mType ? WStatus::ok() : WStatus::error("type", "is that of another record");
}

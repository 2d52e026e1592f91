// JSON to records and back. The input is the text of a list as the server prints it.

#include "fuzzinput.h"
#include "jsontext.h"
#include "property.h"
#include "zulobj/jsonvalue.h"
#include "zulobj/objectlist.h"
#include "zulobj/recordfactory.h"

namespace {

/// The same list over the wire: decoded from the message that it makes.
void checkWire(cObjectList* list, json_t* json)
{
    WMsg message;
    if (!list->encode(&message).isOk() || message.payload.size() > wmsg::kMaxTextBytes) {
        return; // Too large for one message, or perhaps a text was cut.
    }
    message.seq = list->getMsgSeq();
    cObjectList received;
    require(received.decode(message).isOk(), "a list made from JSON can be sent");
    const JsonRef again(received.getJSONObj());
    require(json_equal(json, again.get()) == 1, "a list arrives as it was sent");
}

void checkList(cObjectList* list)
{
    const JsonRef json(list->getJSONObj());
    const JsonRef read = jsonOf(textOf(json.get(), zulobj::kDumpFlags), 0);
    require(read != nullptr, "a list's JSON is JSON");
    cObjectList same;
    require(same.parse(read.get()).isOk(), "a list's JSON is taken");
    const JsonRef again(same.getJSONObj());
    require(json_equal(json.get(), again.get()) == 1, "a list reads back as the same list");
    checkWire(list, json.get());
}

/// Every class of record looks at whatever there is.
void checkRecords(json_t* json)
{
    for (uint32_t type = 0; type <= OBJ_NUM_OBJECT_TYPES; ++type) {
        const std::unique_ptr<cObject> record = zulobj::createRecord(static_cast<eObjectTypes>(type));
        if (!record->parse(json).isOk()) {
            continue;
        }
        require(json_is_object(json), "only an object is a record");
        const JsonRef written(record->getJSONObj());
        const std::unique_ptr<cObject> copy = zulobj::createRecord(static_cast<eObjectTypes>(type));
        require(copy->parse(written.get()).isOk(), "a record's JSON is taken");
        const JsonRef again(copy->getJSONObj());
        require(json_equal(written.get(), again.get()) == 1, "a record reads back as the same record");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    const JsonRef json = jsonOf(input.restText(), JSON_DECODE_ANY | JSON_ALLOW_NUL);
    if (json == nullptr) {
        return 0;
    }
    cObjectList list;
    const WStatus status = list.parse(json.get());
    json_t* objects = json_object_get(json.get(), "objects");
    require(!status.isOk() || list.size() == json_array_size(objects), "every object becomes a record");
    require(list.size() <= json_array_size(objects), "a list holds nothing that was not there");
    if (status.isOk()) {
        checkList(&list);
    }
    checkRecords(json.get());
    for (size_t i = 0; i < json_array_size(objects); ++i) {
        checkRecords(json_array_get(objects, i));
    }
    return 0;
}

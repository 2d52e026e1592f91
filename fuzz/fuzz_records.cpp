// Payloads to records and back. The input: message type, sequence number, a byte whose lowest bit is the
// event flag, or 128 for a list that is too large as well, and the payload.

#include "accessorcopy.h"
#include "fuzzinput.h"
#include "jsontext.h"
#include "property.h"
#include "recordmodel.h"
#include "zulobj/jsonvalue.h"
#include "zulobj/objectlist.h"
#include "zulobj/recordfactory.h"

namespace {

using model::Bytes;

/// At most this many records of one list are compared with each other.
constexpr size_t kCompared = 6;

Bytes encoded(const cObject& record)
{
    Bytes payload(record.encodedSize());
    require(record.encode(payload.data()) == payload.data() + payload.size(),
            "a record takes the room that it says");
    return payload;
}

void checkTags(const cObject& record)
{
    cTagList tags = record.getTags();
    std::vector<WTag*> pointers;
    for (WTag& tag : tags) {
        pointers.push_back(&tag);
    }
    const std::unique_ptr<cObject> copy = zulobj::createRecord(record.getType());
    require(copy->parse(nullptr, &pointers).isOk(), "a record's tags are sound");
    require(encoded(*copy) == encoded(record), "a record made from another one's tags equals it");

    // A tag that no record knows changes nothing, and neither does a shorter list.
    WTag unknown(0, {});
    pointers.push_back(&unknown);
    require(copy->parse(nullptr, &pointers).isOk() && encoded(*copy) == encoded(record),
            "an unknown tag is skipped");
    pointers.clear();
    require(copy->parse(nullptr, &pointers).isOk() && encoded(*copy) == encoded(record),
            "an absent tag leaves its field as it is");
}

/// A number cut short is refused, by its tag alone and among the bytes of an object.
void checkCutNumber(const cObject& record)
{
    const cTagList tags = record.getTags();
    if (tags.size() == 0) {
        return;
    }
    WTag cut(tags.at(0).number(), tags.at(0).value().first(3));
    std::vector<WTag*> pointers = {&cut};
    const std::unique_ptr<cObject> copy = zulobj::createRecord(record.getType());
    const WStatus status = copy->parse(nullptr, &pointers);
    require(!status.isOk() && std::string("deviceSerial") == status.field(),
            "a number of 3 bytes is refused");
}

void checkCopies(cObject* record)
{
    const std::unique_ptr<cObject> clone(record->clone());
    require(clone->getType() == record->getType() && encoded(*clone) == encoded(*record),
            "a clone equals its record");
    const std::unique_ptr<cObject> key(record->cloneKey());
    require(key->compIndex(record) && record->compIndex(key.get()), "a clone of the key has the same key");
    require(!(*key < *record) && !(*record < *key), "records of one key have no order");
    require(!record->compIndex(nullptr), "no record has no key");
    require(encoded(*copiedByAccessors(*record)) == encoded(*record), "setters take what getters give");
    record->printKey();
}

void checkJSON(const cObject& record)
{
    const JsonRef json(record.getJSONObj());
    const JsonRef read = jsonOf(textOf(json.get(), zulobj::kDumpFlags), 0);
    require(read != nullptr, "a record's JSON is JSON");
    const std::unique_ptr<cObject> copy = zulobj::createRecord(record.getType());
    require(copy->parse(read.get()).isOk(), "a record's JSON is taken");
    const JsonRef again(copy->getJSONObj());
    require(json_equal(json.get(), again.get()) == 1, "a record made from JSON has the same JSON");
}

void checkOrder(const std::vector<cObject*>& records)
{
    for (cObject* a : records) {
        for (cObject* b : records) {
            const bool same = a->compIndex(b);
            require(same == b->compIndex(a), "keys are equal both ways");
            require(!(*a < *b && *b < *a), "of two records one comes first at most");
            require(same == (!(*a < *b) && !(*b < *a)), "records have an order unless their keys are equal");
            for (cObject* c : records) {
                require(!(*a < *b && *b < *c) || *a < *c, "the order holds over three records");
            }
        }
    }
}

void checkList(cObjectList* list, const model::Payload& expected)
{
    WMsg message;
    Bytes payload;
    for (const Bytes& object : expected.objects()) {
        payload.insert(payload.end(), object.begin(), object.end());
    }
    const bool fits = payload.size() <= wmsg::kMaxMessageBytes;
    require(list->encode(&message).isOk() == fits, "only a message that is too large cannot be sent");
    if (!fits) {
        return;
    }
    require(message.payload == payload, "a message holds its records one after the other");
    require(message.type == list->getMsgType() && message.event == (message.type == cObjectList::kEvent),
            "a message of type 3 is an event");
    cObjectList again;
    require(again.decode(message).isOk() && again.size() == list->size(), "a message that was sent is read");

    cObjectList borrowed;
    borrowed.setMsgType(list->getMsgType());
    borrowed.setMsgSeq(list->getMsgSeq());
    borrowed.add(nullptr);
    for (cObject* object = list->first(); object != nullptr; object = list->next()) {
        borrowed.addBorrowed(object);
    }
    WMsg same;
    require(borrowed.encode(&same).isOk() && same.payload == payload, "a null is skipped");
    const JsonRef json(list->getJSONObj());
    const JsonRef jsonOfBorrowed(borrowed.getJSONObj());
    require(json_equal(json.get(), jsonOfBorrowed.get()) == 1, "a null is left out of the JSON");
    require(again.parse(json.get()).isOk(), "a list's JSON is taken");
    const JsonRef jsonAgain(again.getJSONObj());
    require(json_equal(json.get(), jsonAgain.get()) == 1, "a list made from JSON has the same JSON");
    require(again.encode(&same).isOk() && same.event == message.event, "the type alone makes an event");
    require(again.getEvent() == (list->getMsgType() == cObjectList::kEvent), "a list of type 3 is an event");
}

/// The same record as often as a message holds it, and once more.
void checkTooLarge(cObject* record)
{
    const size_t most = wmsg::kMaxMessageBytes / encoded(*record).size();
    cObjectList list;
    for (size_t i = 0; i < most; ++i) {
        list.addBorrowed(record);
    }
    WMsg message;
    require(list.encode(&message).isOk(), "a message may be as large as permitted");
    list.addBorrowed(record);
    require(!list.encode(&message).isOk(), "a message may not be larger than permitted");
}

/// A list that has been read before, from the half of the message and from all of it, reads it like @p fresh.
void checkUsed(const WMsg& message, const cObjectList& fresh, bool readable)
{
    WMsg half = message;
    half.payload.resize(half.payload.size() / 2);
    cObjectList used;
    const JsonRef expected(fresh.getJSONObj());
    // What comes of the half does not count.
    static_cast<void>(used.decode(half));
    for (int round = 0; round < 2; ++round) {
        require(used.decode(message).isOk() == readable, "a used list reads what a fresh one reads");
    }
    const JsonRef json(used.getJSONObj());
    require(json_equal(json.get(), expected.get()) == 1, "a used list holds what a fresh one holds");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    WMsg message;
    message.type = input.number8();
    message.seq = input.number8();
    const uint8_t flags = input.number8();
    message.event = (flags & 1) != 0;
    message.payload = input.rest();

    cObjectList list;
    const WStatus status = list.decode(message);
    const model::Payload expected(message.payload);
    require(status.isOk() == expected.readable(), "a message is readable by the rules alone");
    require(list.size() == expected.objects().size(), "a list holds the objects before a fault");
    checkUsed(message, list, status.isOk());
    require(list.getMsgType() == message.type && list.getMsgSeq() == message.seq &&
                list.getEvent() == message.event,
            "type, number and event flag are the message's");
    std::vector<cObject*> compared;
    size_t index = 0;
    for (cObject* object = list.first(); object != nullptr; object = list.next()) {
        require(encoded(*object) == expected.objects()[index++], "a record is what its object says");
        checkTags(*object);
        checkCutNumber(*object);
        checkCopies(object);
        checkJSON(*object);
        if (compared.size() < kCompared) {
            compared.push_back(object);
        }
    }
    checkOrder(compared);
    if (flags == 128 && list.size() == 1) {
        checkTooLarge(compared.front());
    }
    checkList(&list, expected);
    return 0;
}

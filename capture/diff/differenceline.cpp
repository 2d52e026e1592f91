#include "capture/diff/differenceline.h"

#include <cmath>
#include <cstring>

#include "zulcommand/reply.h"

namespace capture {

using zulcommand::JsonPtr;

namespace {

JsonPtr objectsOf(const ComparedMessage& message)
{
    cObjectList list;
    const WStatus status = list.decode(message.message);
    return status.isOk() ? zulcommand::objectsOf(list) : JsonPtr(json_pack("[s]", status.text().c_str()));
}

json_t* sideJson(const ComparedMessage* message, int64_t beginNs)
{
    if (message == nullptr) {
        return json_null();
    }
    const double seconds = static_cast<double>(message->timeNs - beginNs) / 1e9;
    return json_pack("{s:f, s:i, s:i, s:o}", "seconds", std::round(seconds * 1e6) / 1e6, "msgType",
                     message->message.type, "msgSeq", message->message.seq, "objects",
                     objectsOf(*message).release());
}

/// Appends the names of the fields in which two records differ to the set @p fields.
void addFields(const json_t* a, const json_t* b, const MessageComparer& comparer, json_t* fields)
{
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        json_t* const inA = json_object_get(a, entry.name);
        json_t* const inB = json_object_get(b, entry.name);
        if (comparer.counts(entry.tag) && (inA != nullptr || inB != nullptr) && !json_equal(inA, inB)) {
            json_object_set_new(fields, entry.name, json_true());
        }
    }
}

/// The names of the fields that are not the same in both.
json_t* changedFields(const ComparedMessage& first, const ComparedMessage& second,
                      const MessageComparer& comparer)
{
    const JsonPtr a = objectsOf(first);
    const JsonPtr b = objectsOf(second);
    const JsonPtr fields(json_object());
    for (size_t i = 0; i < std::min(json_array_size(a.get()), json_array_size(b.get())); ++i) {
        addFields(json_array_get(a.get(), i), json_array_get(b.get(), i), comparer, fields.get());
    }
    json_t* const names = json_array();
    const char* name = nullptr;
    json_t* value = nullptr;
    json_object_foreach(fields.get(), name, value) { json_array_append_new(names, json_string(name)); }
    return names;
}

const char* kindOf(const Comparison::Difference& difference)
{
    return difference.a == nullptr ? "extra" : difference.b == nullptr ? "missing" : "changed";
}

} // namespace

std::string differenceLine(const Comparison::Difference& difference, const MessageComparer& comparer,
                           int64_t beginA, int64_t beginB)
{
    const Comparison::Kind& kind = difference.kind;
    JsonPtr line(json_pack("{s:s, s:s, s:o, s:s, s:b}", "event", "difference", "kind", kindOf(difference),
                           "deviceSerial", kind.deviceSerial ? json_integer(*kind.deviceSerial) : json_null(),
                           "dir", nameOf(kind.direction), "answer", kind.answer));
    if (difference.a != nullptr && difference.b != nullptr) {
        json_object_set_new(line.get(), "fields", changedFields(*difference.a, *difference.b, comparer));
    }
    json_object_set_new(line.get(), "a", sideJson(difference.a, beginA));
    json_object_set_new(line.get(), "b", sideJson(difference.b, beginB));
    return zulcommand::dumped(line);
}

} // namespace capture

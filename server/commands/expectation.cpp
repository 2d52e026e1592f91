#include "server/commands/expectation.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "wmsg/utf8.h"
#include "zulobj/jsonvalue.h"

namespace server {

namespace {

Reply failedReply(const std::string& sentence)
{
    return {.status = Reply::Status::FAILED, .error = sentence};
}

/// "OBJ_PORT_DIN with portId=2 inputState=OBJ_IO_STATE_SET".
std::string wantedText(const MessageLog::Filter& filter)
{
    std::string text = filter.objectType ? typeText(*filter.objectType) : std::string();
    const char* before = " with ";
    for (const Condition& condition : filter.conditions) {
        text += before + condition.text();
        before = " ";
    }
    return text;
}

std::string eventText(const MessageLog::Filter& filter)
{
    return filter.objectType ? "event " + wantedText(filter) : "event";
}

std::string shortened(const std::string& text)
{
    const std::string_view cut = utf8::cut(text, kMaxValueBytes);
    return cut.size() == text.size() ? text : std::string(cut) + "…";
}

/// The fields of @p object, in its JSON form, that the conditions name: " with portId=1".
std::string fieldsText(const json_t* object, const Conditions& conditions)
{
    std::string text;
    for (const Condition& condition : conditions) {
        const json_t* value = json_object_get(object, condition.name());
        // A name needs no marks in a command either.
        const bool bare = json_is_string(value) && condition.isNumber();
        text += (text.empty() ? " with " : " ") + std::string(condition.name()) + "=" +
                shortened(bare ? json_string_value(value) : dumped(value));
    }
    return text;
}

/// The last object of the type that is meant, as it is: "; the last one with portId=1", or nothing.
std::string lastText(const json_t* objects, const MessageLog::Filter& filter)
{
    const JsonPtr type(zulobj::typeToJSON(*filter.objectType));
    for (size_t i = json_array_size(objects); i > 0 && !filter.conditions.empty(); --i) {
        const json_t* object = json_array_get(objects, i - 1);
        if (json_equal(json_object_get(object, "type"), type.get()) == 1) {
            return ", the last one" + fieldsText(object, filter.conditions);
        }
    }
    return {};
}

JsonPtr linesOf(const MessageLog::Latest& latest)
{
    JsonPtr lines(json_array());
    for (const MessageLog::Entry* entry : latest.entries) {
        cObjectList list;
        if (list.decode(entry->message).isOk()) {
            json_array_append_new(lines.get(), messageLine(entry->deviceSerial, list).release());
        }
    }
    return lines;
}

std::string messagesText(size_t count)
{
    return std::to_string(count) + (count == 1 ? " message" : " messages");
}

} // namespace

std::string typeText(uint32_t objectType)
{
    const char* name = zuldict::nameOf(zuldict::objectTypes(), objectType);
    return name != nullptr ? name : "object " + std::to_string(objectType);
}

std::string secondsText(double seconds)
{
    std::ostringstream text;
    text << seconds << (seconds == 1.0 ? " second" : " seconds");
    return text.str();
}

Reply missedEvent(const MessageLog::Filter& filter, double seconds, const MessageLog& log)
{
    const MessageLog::Latest all = log.latest({filter.deviceSerial, {}, {}}, kMaxInstead, kMaxInsteadBytes);
    const MessageLog::Latest near =
        log.latest({filter.deviceSerial, filter.objectType, {}}, kMaxInstead, kMaxInsteadBytes);
    Reply reply = failedReply("No " + eventText(filter) + " came within " + secondsText(seconds));
    reply.received = linesOf(near.all > 0 ? near : all);
    if (all.all == 0) {
        reply.error += "; nothing else came.";
    } else if (!filter.objectType || near.all == 0) {
        reply.error += "; " + messagesText(all.all) + " came instead, without such an object.";
    } else {
        const size_t shown = json_array_size(reply.received.get());
        const json_t* last = shown == 0 ? nullptr : json_array_get(reply.received.get(), shown - 1);
        reply.error += "; " + messagesText(near.all) + " with " + typeText(*filter.objectType) +
                       " came instead" + lastText(json_object_get(last, "objects"), filter) + ".";
    }
    return reply;
}

Reply unwantedEvent(const MessageLog::Filter& filter, cObjectList* list)
{
    Reply reply = replyWith(*list);
    reply.status = Reply::Status::FAILED;
    const cObject* first = filter.objectType ? nullptr : list->first();
    reply.error = "An " + eventText(filter) +
                  (first == nullptr ? "" : " with " + typeText(first->getType())) + " came.";
    return reply;
}

Reply missedAnswer(const MessageLog::Filter& filter, double seconds, size_t count, Reply last)
{
    const std::string within = " within " + secondsText(seconds);
    if (count == 0) {
        return failedReply("No answer came" + within + "; " + wantedText(filter) + " was expected.");
    }
    last.status = Reply::Status::FAILED;
    last.error = "No answer had an " + wantedText(filter) + within + "; " + std::to_string(count) +
                 (count == 1 ? " answer came" : " answers came") + lastText(last.objects.get(), filter) + ".";
    return last;
}

Reply replyWith(const cObjectList& list)
{
    return {.msgType = list.getMsgType(), .objects = objectsOf(list)};
}

} // namespace server

#include "zulcommand/expectation.h"

#include <sstream>

#include "wmsg/utf8.h"
#include "zulobj/jsonvalue.h"

namespace zulcommand {

namespace {

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

/// "1 message", "2 messages".
std::string countText(size_t count, const char* what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string shortened(const std::string& text)
{
    const std::string_view cut = utf8::cut(text, kMaxValueBytes);
    return cut.size() == text.size() ? text : std::string(cut) + "…";
}

/// The last of @p objects that is of the type: ", the last one with portId=1", or nothing.
std::string lastText(const json_t* objects, const MessageLog::Filter& filter)
{
    const JsonPtr type(zulobj::toJSON(zulobj::kTypeEntry, *filter.objectType));
    const json_t* last = nullptr;
    size_t index = 0;
    json_t* object = nullptr;
    json_array_foreach(objects, index, object)
    {
        last = json_equal(json_object_get(object, "type"), type.get()) == 1 ? object : last;
    }
    std::string text;
    for (size_t i = 0; last != nullptr && i < filter.conditions.size(); ++i) {
        const Condition& condition = filter.conditions[i];
        const json_t* value = json_object_get(last, condition.name());
        // A name needs no marks in a command either.
        const bool bare = json_is_string(value) && condition.isNumber();
        text += (i == 0 ? ", the last one with " : " ") + std::string(condition.name()) + "=" +
                shortened(bare ? json_string_value(value) : dumped(value));
    }
    return text;
}

/// The objects of a line with several or with one.
JsonPtr objectsIn(const json_t* line)
{
    json_t* object = json_object_get(line, "object");
    return JsonPtr(object != nullptr ? json_pack("[O]", object)
                                     : json_incref(json_object_get(line, "objects")));
}

JsonPtr linesOf(const MessageLog::Latest& latest, EventLine lineOf)
{
    JsonPtr lines(json_array());
    for (const MessageLog::Entry* entry : latest.entries) {
        cObjectList list;
        if (list.decode(entry->message).isOk()) {
            json_array_append_new(lines.get(), lineOf(entry->deviceSerial, list).release());
        }
    }
    return lines;
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

Reply replyWith(const WMsg& message)
{
    cObjectList list;
    const WStatus status = list.decode(message);
    if (!status.isOk()) {
        return {.status = Reply::Status::ERROR,
                .error = "The answer was not understood: " + status.text() + "."};
    }
    return {.msgType = message.type, .objects = objectsOf(list)};
}

Reply missedEvent(const MessageLog::Filter& filter, double seconds, const MessageLog& log, EventLine lineOf)
{
    MessageLog::Filter wider;
    wider.deviceSerial = filter.deviceSerial;
    wider.peer = filter.peer;
    const MessageLog::Latest all = log.latest(wider, kMaxInstead, kMaxInsteadBytes);
    wider.objectType = filter.objectType;
    const MessageLog::Latest near = log.latest(wider, kMaxInstead, kMaxInsteadBytes);
    Reply reply{.status = Reply::Status::FAILED,
                .error = "No " + eventText(filter) + " came within " + secondsText(seconds),
                .received = linesOf(near.all > 0 ? near : all, lineOf)};
    if (all.all == 0) {
        reply.error += "; nothing else came.";
    } else if (!filter.objectType || near.all == 0) {
        reply.error += "; " + countText(all.all, "message") + " came instead, without such an object.";
    } else {
        const json_t* shown = reply.received.get();
        const json_t* last = json_array_get(shown, json_array_size(shown) - 1); // null if none is shown
        reply.error += "; " + countText(near.all, "message") + " with " + typeText(*filter.objectType) +
                       " came instead" + lastText(objectsIn(last).get(), filter) + ".";
    }
    return reply;
}

Reply unwantedEvent(const MessageLog::Filter& filter, const WMsg& message)
{
    Reply reply = replyWith(message);
    reply.status = Reply::Status::FAILED;
    WendleObject first;
    const bool any = !filter.objectType && WObjectReader(message.payload).next(&first);
    reply.error = "An " + eventText(filter) + (any ? " with " + typeText(first.type) : "") + " came.";
    return reply;
}

Reply missedAnswer(const MessageLog::Filter& filter, double seconds, size_t count, Reply last)
{
    const std::string within = " within " + secondsText(seconds);
    if (count == 0) {
        return {.status = Reply::Status::FAILED,
                .error = "No answer came" + within + "; " + wantedText(filter) + " was expected."};
    }
    last.status = Reply::Status::FAILED;
    last.error = "No answer had an " + wantedText(filter) + within + "; " + countText(count, "answer") +
                 " came" + lastText(last.objects.get(), filter) + ".";
    return last;
}

} // namespace zulcommand

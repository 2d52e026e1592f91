#include "zulcommand/verb.h"

#include <string_view>

#include "zulcommand/expectation.h"
#include "zulcommand/jsontext.h"
#include "zullink/hostport.h"
#include "zulobj/recordfactory.h"

namespace zulcommand {

std::optional<uint32_t> parseObjectType(const std::string& text)
{
    uint32_t type = 0;
    return zuldict::valueOf(zuldict::objectTypes(), text.c_str(), &type) ? std::make_optional(type)
                                                                         : parseNumber(text);
}

bool hasField(uint32_t objectType, const char* name)
{
    const JsonPtr json(zulobj::createRecord(static_cast<eObjectTypes>(objectType))->getJSONObj());
    return json_object_get(json.get(), name) != nullptr;
}

void readObjectType(CommandWords* words, MessageLog::Filter* filter)
{
    const std::string word = words->word();
    if (word.empty()) {
        return;
    }
    filter->objectType = parseObjectType(word);
    if (!filter->objectType) {
        words->fail(quote(word) + " is no type of an object.");
    }
}

void readDevice(CommandWords* words, bool every, CommandBase* command)
{
    MessageLog::Filter& filter = command->filter;
    filter.peer = words->text("peer");
    if (filter.peer && !parseHostPort(*filter.peer)) {
        words->fail("peer is not ADDRESS:PORT: " + quote(*filter.peer) + ".");
    }
    const std::optional<std::string> device = words->text("device");
    command->everyDevice = device == "*";
    if (!device || command->everyDevice) {
        if (command->everyDevice && (!every || filter.peer)) {
            words->fail(every ? "The command takes either device=* or peer=ADDRESS:PORT."
                              : "The command takes one device, not device=*.");
        }
        return;
    }
    filter.deviceSerial = parseNumber(*device);
    if (!filter.deviceSerial) {
        words->fail(numberMistake("device", *device, 0, kMaxNumber));
    }
}

void readSleep(CommandWords* words, CommandBase* command)
{
    const std::string word = words->word();
    const std::optional<double> seconds = parseSeconds(word);
    command->seconds = seconds.value_or(0.0);
    if (word.empty()) {
        words->fail("The command needs a number of seconds.");
    } else if (!seconds) {
        words->fail("The time is not a number of seconds from 0 to 86400: " + quote(word) + ".");
    }
}

double readTime(CommandWords* words, const char* name, double seconds)
{
    const std::optional<std::string> text = words->text(name);
    const double time = text ? parseSeconds(*text).value_or(0.0) : seconds;
    if (time == 0.0) {
        words->fail(name + (" is not a number of seconds above 0 and up to 86400: " + quote(*text)) + ".");
    }
    return time;
}

ExpectedFields::ExpectedFields(CommandWords* words)
{
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        if (std::optional<FieldValue> value = words->field(entry.name)) {
            mFields.emplace_back(&entry, *std::move(value));
        }
    }
}

void ExpectedFields::addTo(MessageLog::Filter* filter, const zuldict::TagEntry* extra,
                           CommandWords* words) const
{
    for (const auto& [entry, value] : mFields) {
        if (extra != nullptr && std::string_view(entry->name) == extra->name) {
            filter->conditions.emplace_back(*extra, value, words);
        } else if (!filter->objectType) {
            words->fail("The field " + quote(entry->name) + " needs the type of its object.");
        } else if (!hasField(*filter->objectType, entry->name)) {
            words->fail(typeText(*filter->objectType) + " has no field " + quote(entry->name) + ".");
        } else {
            filter->conditions.emplace_back(*entry, value, words);
        }
    }
}

Expected readExpected(CommandWords* words, MessageLog::Filter* filter,
                      const std::function<const zuldict::TagEntry*()>& get)
{
    if (words->field("timeout")) {
        words->fail("The command takes within=S, not timeout=S.");
    }
    // Before the fields of get: portType is one of them, and is a condition here.
    const ExpectedFields fields(words);
    std::string word = words->word();
    Expected expected = Expected::GET;
    const zuldict::TagEntry* extra = nullptr;
    if (word == "get") {
        extra = get();
    } else {
        expected = word == "no" ? Expected::NO_EVENT : Expected::EVENT;
        word = word == "no" ? words->word() : word;
        if (word == "event") {
            readObjectType(words, filter);
        } else {
            words->fail("The command expects \"event\", \"no event\" or \"get\".");
        }
    }
    if (!words->failed()) {
        fields.addTo(filter, extra, words);
    }
    return expected;
}

} // namespace zulcommand

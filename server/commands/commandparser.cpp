#include "server/commands/commandparser.h"

#include <algorithm>

#include "server/commands/commandobjects.h"
#include "zulcommand/expectation.h"
#include "zulobj/objectlist.h"
#include "zulobj/recordfactory.h"

namespace server {

using namespace zulcommand;

namespace {

void readGet(CommandWords* words, Command* command)
{
    command->filter.objectType = readObject("get", words, &command->message);
}

void readSet(CommandWords* words, Command* command)
{
    command->filter.objectType = readObject("set", words, &command->message);
}

void readObjectType(CommandWords* words, Command* command)
{
    const std::string word = words->word();
    uint32_t type = 0;
    if (word.empty()) {
        return;
    }
    command->filter.objectType = zuldict::valueOf(zuldict::objectTypes(), word.c_str(), &type)
                                     ? std::make_optional(type)
                                     : parseNumber(word);
    if (!command->filter.objectType) {
        words->fail(quote(word) + " is no type of an object.");
    }
}

void readWait(CommandWords* words, Command* command)
{
    const std::string word = words->word();
    if (word == "event") {
        command->kind = Command::Kind::WAIT_EVENT;
        readObjectType(words, command);
    } else if (word == "device") {
        command->kind = Command::Kind::WAIT_DEVICE;
    } else if (word == "disconnected") {
        command->kind = Command::Kind::WAIT_DISCONNECTED;
    } else {
        words->fail("The command waits for \"event\", \"device\" or \"disconnected\".");
    }
}

using ExpectedField = std::pair<const zuldict::TagEntry*, FieldValue>;

/// Every field that the dictionary knows.
std::vector<ExpectedField> takeDictionaryFields(CommandWords* words)
{
    std::vector<ExpectedField> fields;
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        if (std::optional<FieldValue> value = words->field(entry.name)) {
            fields.emplace_back(&entry, *std::move(value));
        }
    }
    return fields;
}

bool hasField(uint32_t objectType, const char* name)
{
    const JsonPtr json(zulobj::createRecord(static_cast<eObjectTypes>(objectType))->getJSONObj());
    return json_object_get(json.get(), name) != nullptr;
}

void readConditions(CommandWords* words, const std::vector<ExpectedField>& fields, MessageLog::Filter* filter)
{
    for (const auto& [entry, value] : fields) {
        if (!filter->objectType) {
            words->fail("The field " + quote(entry->name) + " needs the type of its object.");
        } else if (!hasField(*filter->objectType, entry->name)) {
            words->fail(typeText(*filter->objectType) + " has no field " + quote(entry->name) + ".");
        } else {
            filter->conditions.emplace_back(*entry, value, words);
        }
    }
}

void readExpect(CommandWords* words, Command* command)
{
    if (words->field("timeout")) {
        words->fail("The command takes within=S, not timeout=S.");
    }
    // Before the fields of get: portType is one of them, and is a condition here.
    const std::vector<ExpectedField> fields = takeDictionaryFields(words);
    std::string word = words->word();
    if (word == "get") {
        command->kind = Command::Kind::EXPECT_ANSWER;
        readGet(words, command);
    } else {
        command->kind = word == "no" ? Command::Kind::EXPECT_NO_EVENT : Command::Kind::EXPECT_EVENT;
        word = word == "no" ? words->word() : word;
        if (word == "event") {
            readObjectType(words, command);
        } else {
            words->fail("The command expects \"event\", \"no event\" or \"get\".");
        }
    }
    if (!words->failed()) {
        readConditions(words, fields, &command->filter);
    }
}

void readDrop(CommandWords* words, Command* command)
{
    if (!command->filter.deviceSerial) {
        words->failWithout("device");
    }
}

void readSend(CommandWords* words, Command* command)
{
    const std::optional<uint32_t> type = words->number("type", 0, 255);
    if (!type) {
        words->failWithout("type");
    }
    command->message.type = static_cast<uint8_t>(type.value_or(0));
    command->message.event = command->message.type == cObjectList::kEvent;
}

void readSleep(CommandWords* words, Command* command)
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

void readNothing(CommandWords*, Command*) {}

/// A command by its first word.
struct Verb
{
    const char* word;
    Command::Kind kind; ///< unless `read` says another
    void (*read)(CommandWords*, Command*);
    const char* help;
    bool namesDevice = false;        ///< takes device=SERIAL
    const char* timeField = nullptr; ///< says how long the command waits
    double seconds = 0.0;            ///< how long it waits without that field
};

constexpr Verb kVerbs[] = {
    {"get", Command::Kind::EXCHANGE, readGet,
     "get device|capability [serial=N]\n"
     "get din|dout|ain|aout [PORT|*] [serial=N] [portType=N]\n"
     "get sample PORT SEQ [serial=N]\n"
     "get object=N [serial=N]\n",
     true, "timeout", 5.0},
    {"set", Command::Kind::EXCHANGE, readSet,
     "set din PORT|* default=high|low [serial=N]\n"
     "set dout PORT|* [state=high|low] [default=high|low] [serial=N]\n"
     "set ain PORT|* [rate=N] [gain=F] [offset=F] [serial=N]\n"
     "set aout PORT|* value=F [serial=N]\n"
     "set object=N [serial=N]\n",
     true, "timeout", 5.0},
    {"wait", Command::Kind::WAIT_EVENT, readWait,
     "wait event [OBJECT-TYPE]\n"
     "wait device\n"
     "wait disconnected\n",
     true, "timeout", 10.0},
    {"expect", Command::Kind::EXPECT_EVENT, readExpect,
     "expect event [OBJECT-TYPE [NAME=VALUE]...]\n"
     "expect no event [OBJECT-TYPE [NAME=VALUE]...]\n"
     "expect get ... [NAME=VALUE]...\n",
     true, "within", 10.0},
    {"forget", Command::Kind::FORGET, readNothing, "forget\n"},
    {"drop", Command::Kind::DROP, readDrop, "drop device=SERIAL\n", true},
    {"case", Command::Kind::CASE, readNothing, "case NAME\n"},
    {"send", Command::Kind::SEND, readSend, "send type=N\n", true},
    {"sleep", Command::Kind::SLEEP, readSleep, "sleep S\n"},
    {"help", Command::Kind::HELP, readNothing, "help\n"},
    {"quit", Command::Kind::QUIT, readNothing, "quit\n"},
};

/// Reads what several commands have in common, then the rest.
void readCommand(const Verb& verb, CommandWords* words, Command* command)
{
    command->kind = verb.kind;
    if (verb.namesDevice) {
        command->filter.deviceSerial = words->number("device");
    }
    if (verb.timeField != nullptr) {
        const std::optional<std::string> text = words->text(verb.timeField);
        command->seconds = text ? parseSeconds(*text).value_or(0.0) : verb.seconds;
        if (command->seconds == 0.0) {
            words->fail(verb.timeField +
                        (" is not a number of seconds above 0 and up to 86400: " + quote(*text)) + ".");
        }
    }
    verb.read(words, command);
}

} // namespace

std::optional<std::string> caseName(const std::string& trimmedLine)
{
    const size_t end = std::min(trimmedLine.find_first_of(kBlanks), trimmedLine.size());
    return trimmedLine.substr(0, end) == "case" ? std::make_optional(trimmed(trimmedLine.substr(end)))
                                                : std::nullopt;
}

std::string parseCommand(const std::string& line, Command* command)
{
    if (std::string mistake = lineMistake(line); !mistake.empty()) {
        return mistake;
    }
    *command = Command();
    if (const std::optional<std::string> name = caseName(trimmed(line))) {
        command->kind = Command::Kind::CASE;
        return name->empty() ? "The command needs a NAME." : "";
    }
    CommandWords words(line);
    const std::string first = words.word();
    for (const Verb& verb : kVerbs) {
        if (first == verb.word) {
            readCommand(verb, &words, command);
            return words.finish();
        }
    }
    return first.empty() ? "The line does not begin with a command."
                         : "There is no command " + quote(first) + ".";
}

std::string commandHelp()
{
    std::string text;
    for (const Verb& verb : kVerbs) {
        text += verb.help;
    }
    return text +
           "get and set wait 5 seconds for the answer, wait waits 10; timeout=S changes that.\n"
           "expect looks for 10 seconds; within=S changes that. NAME=VALUE is a field as the lines print "
           "it.\n"
           "device=SERIAL picks one of several devices in get, set, wait, expect, send and drop.\n";
}

} // namespace server

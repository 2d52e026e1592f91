#include "server/commands/commandparser.h"

#include <algorithm>

#include "server/commands/commandobjects.h"
#include "server/commands/commandwords.h"
#include "server/commands/expectation.h"
#include "server/io/jsonline.h"
#include "zulobj/objectlist.h"
#include "zulobj/recordfactory.h"

namespace server {

namespace {

constexpr double kAnswerSeconds = 5.0;
constexpr double kWaitSeconds = 10.0;

void readTime(CommandWords* words, const std::string& name, Command* command, double usual)
{
    const std::optional<std::string> text = words->text(name);
    command->seconds = text ? parseSeconds(*text).value_or(0.0) : usual;
    if (command->seconds == 0.0) {
        words->fail(name + " is not a number of seconds above 0 and up to 86400: " + quoted(*text) + ".");
    }
}

void readExchange(CommandWords* words, Command* command)
{
    command->kind = Command::Kind::EXCHANGE;
    command->device = words->number("device");
    readTime(words, "timeout", command, kAnswerSeconds);
}

void readGet(CommandWords* words, Command* command)
{
    readExchange(words, command);
    command->msgType = cObjectList::kRequest;
    readObjectToGet(words, command);
}

void readSet(CommandWords* words, Command* command)
{
    readExchange(words, command);
    command->msgType = cObjectList::kSet;
    readObjectToSet(words, command);
}

void readObjectType(CommandWords* words, Command* command)
{
    const std::string word = words->word();
    uint32_t type = 0;
    if (word.empty()) {
        return;
    }
    command->objectType = zuldict::valueOf(zuldict::objectTypes(), word.c_str(), &type)
                              ? std::make_optional(type)
                              : parseNumber(word);
    if (!command->objectType) {
        words->fail(quoted(word) + " is no type of an object.");
    }
}

void readWait(CommandWords* words, Command* command)
{
    command->device = words->number("device");
    readTime(words, "timeout", command, kWaitSeconds);
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

struct FieldToRead
{
    const zuldict::TagEntry* entry;
    FieldValue value;
};

/// Every field that the dictionary knows.
std::vector<FieldToRead> takeDictionaryFields(CommandWords* words)
{
    std::vector<FieldToRead> fields;
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        if (std::optional<FieldValue> value = words->field(entry.name)) {
            fields.push_back({&entry, *std::move(value)});
        }
    }
    return fields;
}

bool hasField(uint32_t objectType, const char* name)
{
    const std::unique_ptr<cObject> record = zulobj::createRecord(static_cast<eObjectTypes>(objectType));
    const JsonPtr json(record->getJSONObj());
    return json_object_get(json.get(), name) != nullptr;
}

void readConditions(CommandWords* words, const std::vector<FieldToRead>& fields, Command* command)
{
    if (!command->objectType && !fields.empty()) {
        words->fail("The field " + quoted(fields.front().entry->name) + " needs the type of its object.");
        return;
    }
    for (const FieldToRead& field : fields) {
        if (!hasField(*command->objectType, field.entry->name)) {
            words->fail(typeText(*command->objectType) + " has no field " + quoted(field.entry->name) + ".");
            return;
        }
        Condition condition;
        const std::string mistake = Condition::read(*field.entry, field.value, &condition);
        if (!mistake.empty()) {
            words->fail(mistake);
        }
        command->conditions.push_back(condition);
    }
}

void readExpectedEvent(CommandWords* words, std::string word, Command* command)
{
    command->kind = word == "no" ? Command::Kind::EXPECT_NO_EVENT : Command::Kind::EXPECT_EVENT;
    if (word == "no") {
        word = words->word();
    }
    if (word == "event") {
        readObjectType(words, command);
    } else {
        words->fail("The command expects \"event\", \"no event\" or \"get\".");
    }
}

void readExpectedAnswer(CommandWords* words, Command* command)
{
    command->kind = Command::Kind::EXPECT_ANSWER;
    command->msgType = cObjectList::kRequest;
    readObjectToGet(words, command);
    if (command->object) {
        command->objectType = command->object->getType();
    }
}

void readExpect(CommandWords* words, Command* command)
{
    command->device = words->number("device");
    readTime(words, "within", command, kWaitSeconds);
    if (words->field("timeout")) {
        words->fail("The command takes within=S, not timeout=S.");
    }
    // Before the fields of get: portType is one of them, and is a condition here.
    const std::vector<FieldToRead> fields = takeDictionaryFields(words);
    const std::string word = words->word();
    if (word == "get") {
        readExpectedAnswer(words, command);
    } else {
        readExpectedEvent(words, word, command);
    }
    if (!words->failed()) {
        readConditions(words, fields, command);
    }
}

void readSend(CommandWords* words, Command* command)
{
    command->kind = Command::Kind::SEND;
    command->device = words->number("device");
    const std::optional<uint32_t> type = words->number("type", 0, 255);
    if (!type) {
        words->failWithout("type");
    }
    command->msgType = static_cast<uint8_t>(type.value_or(0));
}

void readDrop(CommandWords* words, Command* command)
{
    command->kind = Command::Kind::DROP;
    command->device = words->number("device");
    if (!command->device) {
        words->failWithout("device");
    }
}

void readSleep(CommandWords* words, Command* command)
{
    command->kind = Command::Kind::SLEEP;
    const std::string word = words->word();
    const std::optional<double> seconds = parseSeconds(word);
    command->seconds = seconds.value_or(0.0);
    if (word.empty()) {
        words->fail("The command needs a number of seconds.");
    } else if (!seconds) {
        words->fail("The time is not a number of seconds from 0 to 86400: " + quoted(word) + ".");
    }
}

/// Reads a command that is a single word.
template <Command::Kind Kind>
void readAlone(CommandWords*, Command* command)
{
    command->kind = Kind;
}

struct Verb
{
    const char* word;
    void (*read)(CommandWords*, Command*);
};

constexpr Verb kVerbs[] = {
    {"get", readGet},
    {"set", readSet},
    {"wait", readWait},
    {"expect", readExpect},
    {"forget", readAlone<Command::Kind::FORGET>},
    {"drop", readDrop},
    {"send", readSend},
    {"sleep", readSleep},
    {"help", readAlone<Command::Kind::HELP>},
    {"quit", readAlone<Command::Kind::QUIT>},
};

} // namespace

std::string trimmed(const std::string& text)
{
    const size_t begin = text.find_first_not_of(kBlanks);
    return begin == std::string::npos ? std::string()
                                      : text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

bool isSkipped(const std::string& trimmedLine) { return trimmedLine.empty() || trimmedLine[0] == '#'; }

std::optional<std::string> caseName(const std::string& trimmedLine)
{
    constexpr const char* kWord = "case";
    const size_t end = std::min(trimmedLine.find_first_of(kBlanks), trimmedLine.size());
    return trimmedLine.substr(0, end) == kWord ? std::make_optional(trimmed(trimmedLine.substr(end)))
                                               : std::nullopt;
}

std::string parseCommand(const std::string& line, Command* command)
{
    if (line.size() > kMaxCommandBytes) {
        return "The command is longer than " + std::to_string(kMaxCommandBytes) + " bytes.";
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
            verb.read(&words, command);
            return words.finish();
        }
    }
    return first.empty() ? "The line does not begin with a command."
                         : "There is no command " + quoted(first) + ".";
}

const char* commandHelp()
{
    return "get device|capability [serial=N]\n"
           "get din|dout|ain|aout [PORT|*] [serial=N] [portType=N]\n"
           "get sample PORT SEQ [serial=N]\n"
           "get object=N [serial=N]\n"
           "set din PORT|* default=high|low [serial=N]\n"
           "set dout PORT|* [state=high|low] [default=high|low] [serial=N]\n"
           "set ain PORT|* [rate=N] [gain=F] [offset=F] [serial=N]\n"
           "set aout PORT|* value=F [serial=N]\n"
           "set object=N [serial=N]\n"
           "wait event [OBJECT-TYPE]\n"
           "wait device\n"
           "wait disconnected\n"
           "expect event [OBJECT-TYPE [NAME=VALUE]...]\n"
           "expect no event [OBJECT-TYPE [NAME=VALUE]...]\n"
           "expect get ... [NAME=VALUE]...\n"
           "forget\n"
           "drop device=SERIAL\n"
           "case NAME\n"
           "send type=N\n"
           "sleep S\n"
           "help\n"
           "quit\n"
           "get and set wait 5 seconds for the answer, wait waits 10; timeout=S changes that.\n"
           "expect looks for 10 seconds; within=S changes that. NAME=VALUE is a field as the lines print "
           "it.\n"
           "device=SERIAL picks one of several devices in get, set, wait, expect, send and drop.\n";
}

} // namespace server

#include "server/commandparser.h"

#include "server/commandobjects.h"
#include "server/commandwords.h"
#include "server/numbers.h"
#include "zulobj/objectlist.h"

namespace server {

namespace {

constexpr uint32_t kMost = 0xFFFFFFFF;
constexpr double kAnswerSeconds = 5.0;
constexpr double kWaitSeconds = 10.0;

void readDevice(CommandWords* words, Command* command)
{
    uint32_t serial = 0;
    if (words->number("device", 0, kMost, &serial)) {
        command->device = serial;
    }
}

void readTimeout(CommandWords* words, Command* command, double usual)
{
    command->seconds = usual;
    std::string text;
    if (!words->field("timeout", &text)) {
        return;
    }
    if (!parseSeconds(text, &command->seconds) || command->seconds == 0.0) {
        words->fail("timeout is not a number of seconds above 0 and up to 86400: " + quoted(text) + ".");
    }
}

void readExchange(CommandWords* words, Command* command)
{
    command->kind = Command::Kind::EXCHANGE;
    readDevice(words, command);
    readTimeout(words, command, kAnswerSeconds);
}

void readGet(CommandWords* words, Command* command)
{
    readExchange(words, command);
    command->msgType = cObjectList::kRequest;
    command->object = readObjectToGet(words);
}

void readSet(CommandWords* words, Command* command)
{
    readExchange(words, command);
    command->msgType = cObjectList::kSet;
    command->object = readObjectToSet(words);
}

void readObjectType(CommandWords* words, Command* command)
{
    const std::string word = words->word();
    uint32_t type = 0;
    if (word.empty()) {
        return;
    }
    if (!zuldict::valueOf(zuldict::objectTypes(), word.c_str(), &type) &&
        !parseNumber(word, 0, kMost, &type)) {
        words->fail(quoted(word) + " is no type of an object.");
    }
    command->objectType = type;
}

void readWait(CommandWords* words, Command* command)
{
    readDevice(words, command);
    readTimeout(words, command, kWaitSeconds);
    const std::string word = words->word();
    if (word == "event") {
        command->kind = Command::Kind::WAIT_EVENT;
        readObjectType(words, command);
    } else if (word == "device") {
        command->kind = Command::Kind::WAIT_DEVICE;
    } else {
        words->fail("The command waits for \"event\" or \"device\".");
    }
}

void readSend(CommandWords* words, Command* command)
{
    command->kind = Command::Kind::SEND;
    readDevice(words, command);
    uint32_t type = 0;
    if (words->number("type", 0, 255, &type)) {
        command->msgType = static_cast<uint8_t>(type);
    } else {
        words->fail("The command needs the field \"type\".");
    }
}

void readSleep(CommandWords* words, Command* command)
{
    command->kind = Command::Kind::SLEEP;
    const std::string word = words->word();
    if (word.empty()) {
        words->fail("The command needs a number of seconds.");
    } else if (!parseSeconds(word, &command->seconds)) {
        words->fail("The time is not a number of seconds from 0 to 86400: " + quoted(word) + ".");
    }
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
    {"send", readSend},
    {"sleep", readSleep},
    {"help", [](CommandWords*, Command* command) { command->kind = Command::Kind::HELP; }},
    {"quit", [](CommandWords*, Command* command) { command->kind = Command::Kind::QUIT; }},
};

} // namespace

std::string trimmed(const std::string& text)
{
    constexpr const char* kBlanks = " \t\r\n\v\f";
    const size_t begin = text.find_first_not_of(kBlanks);
    return begin == std::string::npos ? std::string()
                                      : text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

bool isSkipped(const std::string& trimmedLine) { return trimmedLine.empty() || trimmedLine[0] == '#'; }

std::string parseCommand(const std::string& line, Command* command)
{
    if (line.size() > kMostCommandBytes) {
        return "The command is longer than " + std::to_string(kMostCommandBytes) + " bytes.";
    }
    CommandWords words(line);
    const std::string first = words.word();
    *command = Command();
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
           "get object=N\n"
           "set din PORT|* default=high|low [serial=N]\n"
           "set dout PORT|* [state=high|low] [default=high|low] [serial=N]\n"
           "set ain PORT|* [rate=N] [gain=F] [offset=F] [serial=N]\n"
           "set aout PORT|* value=F [serial=N]\n"
           "set object=N\n"
           "wait event [OBJECT-TYPE]\n"
           "wait device\n"
           "send type=N\n"
           "sleep S\n"
           "help\n"
           "quit\n"
           "get and set wait 5 seconds for the answer, wait waits 10; timeout=S changes that.\n"
           "device=SERIAL picks one of several devices in get, set, wait and send.\n";
}

} // namespace server

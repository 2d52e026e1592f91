#include "server/commandparser.h"

#include <functional>

#include "server/commandwords.h"
#include "server/numbers.h"
#include "zulobj/ainput.h"
#include "zulobj/aoutput.h"
#include "zulobj/asample.h"
#include "zulobj/capability.h"
#include "zulobj/device.h"
#include "zulobj/dinput.h"
#include "zulobj/doutput.h"
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

uint32_t readSerial(CommandWords* words)
{
    uint32_t serial = cObject::kWildcard;
    words->number("serial", 0, kMost, &serial);
    return serial;
}

uint32_t readNumberWord(CommandWords* words, const std::string& name, uint32_t least)
{
    uint32_t number = 0;
    const std::string word = words->word();
    if (word.empty()) {
        words->fail("The command needs " + name + ".");
    } else if (!parseNumber(word, least, kMost, &number)) {
        words->fail(numberMistake(name, word, least, kMost));
    }
    return number;
}

uint32_t readPort(CommandWords* words, bool required)
{
    const std::string word = words->word();
    uint32_t port = cObject::kWildcard;
    if (word.empty() && required) {
        words->fail("The command needs a PORT, or * for every port.");
    } else if (!word.empty() && word != "*" && !parseNumber(word, 1, kMost, &port)) {
        words->fail("PORT is neither * nor a whole number from 1 to 4294967295: " + quoted(word) + ".");
    }
    return port;
}

/// OBJ_IO_STATE_UNKNOWN where the field is absent or wrong.
cObject::eObjectIOState readState(CommandWords* words, const std::string& name)
{
    std::string text;
    if (!words->field(name, &text)) {
        return cObject::OBJ_IO_STATE_UNKNOWN;
    }
    if (text == "high") {
        return cObject::OBJ_IO_STATE_SET;
    }
    if (text == "low") {
        return cObject::OBJ_IO_STATE_CLEAR;
    }
    words->fail(name + " is neither high nor low: " + quoted(text) + ".");
    return cObject::OBJ_IO_STATE_UNKNOWN;
}

template <class Record>
std::shared_ptr<cObject> getRecord(CommandWords* words)
{
    auto record = std::make_shared<Record>();
    record->setDeviceSerial(readSerial(words));
    return record;
}

template <class Port>
std::shared_ptr<cObject> getPort(CommandWords* words)
{
    auto port = std::make_shared<Port>();
    port->setPortId(readPort(words, false));
    port->setDeviceSerial(readSerial(words));
    uint32_t portType = 0;
    if (words->number("portType", 0, kMost, &portType)) {
        port->setPortType(portType);
    }
    return port;
}

std::shared_ptr<cObject> getSample(CommandWords* words)
{
    auto sample = std::make_shared<cObjectAnalogSample>();
    sample->setPortNum(readNumberWord(words, "PORT", 1));
    sample->setSeqNum(readNumberWord(words, "SEQ", 0));
    sample->setDeviceSerial(readSerial(words));
    return sample;
}

template <class Port>
std::shared_ptr<Port> portToSet(CommandWords* words)
{
    auto port = std::make_shared<Port>();
    port->setPortId(readPort(words, true));
    port->setDeviceSerial(readSerial(words));
    return port;
}

std::shared_ptr<cObject> setDInput(CommandWords* words)
{
    auto port = portToSet<cObjectDInput>(words);
    port->setDefaultState(readState(words, "default"));
    if (port->getDefaultState() == cObject::OBJ_IO_STATE_UNKNOWN) {
        words->fail("The command needs the field \"default\".");
    }
    return port;
}

std::shared_ptr<cObject> setDOutput(CommandWords* words)
{
    auto port = portToSet<cObjectDOutput>(words);
    port->setOutputState(readState(words, "state"));
    port->setDefaultState(readState(words, "default"));
    return port;
}

std::shared_ptr<cObject> setAInput(CommandWords* words)
{
    auto port = portToSet<cObjectAInput>(words);
    uint32_t rate = 0;
    if (words->number("rate", 0, kMost, &rate)) {
        port->setSampleRate(rate);
    }
    float number = 0.0F;
    if (words->real("gain", &number)) {
        port->setGain(number);
    }
    if (words->real("offset", &number)) {
        port->setOffset(number);
    }
    return port;
}

std::shared_ptr<cObject> setAOutput(CommandWords* words)
{
    auto port = portToSet<cObjectAOutput>(words);
    float value = 0.0F;
    if (words->real("value", &value)) {
        port->setSampledValue(value);
    } else {
        words->fail("The command needs the field \"value\".");
    }
    return port;
}

using ObjectReader = std::shared_ptr<cObject> (*)(CommandWords*);

struct ObjectWord
{
    const char* word;
    ObjectReader read;
};

constexpr ObjectWord kGetWords[] = {
    {"device", getRecord<cObjectDevice>},
    {"capability", getRecord<cObjectCapability>},
    {"din", getPort<cObjectDInput>},
    {"dout", getPort<cObjectDOutput>},
    {"ain", getPort<cObjectAInput>},
    {"aout", getPort<cObjectAOutput>},
    {"sample", getSample},
};

constexpr ObjectWord kSetWords[] = {
    {"din", setDInput},
    {"dout", setDOutput},
    {"ain", setAInput},
    {"aout", setAOutput},
};

/// The rest of a get or a set: the word that names the object, or the field that gives its type code.
template <size_t N>
void readExchange(const std::string& verb, const ObjectWord (&known)[N], CommandWords* words,
                  Command* command)
{
    command->kind = Command::Kind::EXCHANGE;
    readDevice(words, command);
    readTimeout(words, command, kAnswerSeconds);
    uint32_t type = 0;
    if (words->number("object", 0, kMost, &type)) {
        command->object = std::make_shared<cObject>(static_cast<eObjectTypes>(type));
        return;
    }
    const std::string word = words->word();
    for (const ObjectWord& candidate : known) {
        if (word == candidate.word) {
            command->object = candidate.read(words);
            return;
        }
    }
    words->fail(word.empty() ? "The command does not say what to " + verb + "."
                             : "There is no " + quoted(word) + " to " + verb + ".");
}

void readGet(CommandWords* words, Command* command)
{
    command->msgType = cObjectList::kRequest;
    readExchange("get", kGetWords, words, command);
}

void readSet(CommandWords* words, Command* command)
{
    command->msgType = cObjectList::kSet;
    readExchange("set", kSetWords, words, command);
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

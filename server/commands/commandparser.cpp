#include "server/commands/commandparser.h"

#include <algorithm>

#include "server/commands/commandobjects.h"
#include "zulcommand/verb.h"
#include "zulobj/objectlist.h"

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

void readWait(CommandWords* words, Command* command)
{
    const std::string word = words->word();
    if (word == "event") {
        command->kind = Command::Kind::WAIT_EVENT;
        readObjectType(words, &command->filter);
    } else if (word == "device") {
        command->kind = Command::Kind::WAIT_DEVICE;
    } else if (word == "disconnected") {
        command->kind = Command::Kind::WAIT_DISCONNECTED;
    } else {
        words->fail("The command waits for \"event\", \"device\" or \"disconnected\".");
    }
}

void readExpect(CommandWords* words, Command* command)
{
    constexpr Command::Kind kKinds[] = {Command::Kind::EXPECT_EVENT, Command::Kind::EXPECT_NO_EVENT,
                                        Command::Kind::EXPECT_ANSWER};
    const auto get = [&]() -> const zuldict::TagEntry* {
        readGet(words, command);
        return nullptr;
    };
    command->kind = kKinds[static_cast<size_t>(readExpected(words, &command->filter, get))];
}

void readDrop(CommandWords* words, Command* command)
{
    if (!command->filter.deviceSerial && !command->filter.peer) {
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

void readPause(CommandWords* words, Command* command) { readSleep(words, command); }

void readNothing(CommandWords*, Command*) {}

constexpr Verb<Command> kVerbs[] = {
    {"get", Command::Kind::EXCHANGE, readGet,
     "get device|capability [serial=N]\n"
     "get din|dout|ain|aout [PORT|*] [serial=N] [portType=N]\n"
     "get sample PORT SEQ [serial=N]\n"
     "get object=N [serial=N]\n",
     true, "timeout", 5.0, true},
    {"set", Command::Kind::EXCHANGE, readSet,
     "set din PORT|* default=high|low [serial=N]\n"
     "set dout PORT|* [state=high|low] [default=high|low] [serial=N]\n"
     "set ain PORT|* [rate=N] [gain=F] [offset=F] [serial=N]\n"
     "set aout PORT|* value=F [serial=N]\n"
     "set object=N [serial=N]\n",
     true, "timeout", 5.0, true},
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
    {"devices", Command::Kind::DEVICES, readNothing, "devices\n"},
    {"case", Command::Kind::CASE, readNothing, "case NAME\n"},
    {"send", Command::Kind::SEND, readSend, "send type=N\n", true},
    {"sleep", Command::Kind::SLEEP, readPause, "sleep S\n"},
    {"help", Command::Kind::HELP, readNothing, "help\n"},
    {"quit", Command::Kind::QUIT, readNothing, "quit\n"},
};

} // namespace

std::optional<std::string> caseName(const std::string& trimmedLine)
{
    const size_t end = std::min(trimmedLine.find_first_of(kBlanks), trimmedLine.size());
    return trimmedLine.substr(0, end) == "case" ? std::make_optional(trimmed(trimmedLine.substr(end)))
                                                : std::nullopt;
}

std::string parseCommand(const std::string& line, Command* command)
{
    // A name holds what a word does not.
    if (const std::optional<std::string> name = caseName(trimmed(line)); name && lineMistake(line).empty()) {
        *command = Command();
        command->kind = Command::Kind::CASE;
        return name->empty() ? "The command needs a NAME." : "";
    }
    return readCommand<Command>(line, kVerbs, command);
}

std::string commandHelp()
{
    return helpOf<Command>(kVerbs) +
           "get and set wait 5 seconds for the answer, wait waits 10; timeout=S changes that.\n"
           "expect looks for 10 seconds; within=S changes that. NAME=VALUE is a field as the lines print "
           "it.\n"
           "device=SERIAL picks one of several devices in get, set, wait, expect, send and drop.\n"
           "peer=ADDRESS:PORT picks one of several with the same serial.\n"
           "device=* asks all devices at the same time in get and set.\n";
}

} // namespace server

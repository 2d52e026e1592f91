#include "zulcommand/controlcommand.h"

#include <algorithm>
#include <array>

using namespace zulcommand;

namespace {

using Kind = sControlCommand::Kind;

/// Where the slider of an analog input stands, which no record holds.
constexpr zuldict::TagEntry kSliderValue{TAG_VALUE, "value", zuldict::eWireType::NUMBER};

struct ObjectWord
{
    const char* word;
    eObjectTypes type;
};

constexpr ObjectWord kObjectWords[] = {
    {"device", OBJ_DEVICE}, {"capability", OBJ_CAPABILITY}, {"din", OBJ_PORT_DIN},   {"dout", OBJ_PORT_DOUT},
    {"ain", OBJ_PORT_AIN},  {"aout", OBJ_PORT_AOUT},        {"scanner", OBJ_ACCESS},
};

const ObjectWord* findObject(const std::string& word)
{
    const auto* found = std::ranges::find(kObjectWords, word, &ObjectWord::word);
    return found == std::end(kObjectWords) ? nullptr : found;
}

/// A number in the place of the word @p name.
uint32_t readNumber(CommandWords* words, const char* name, uint32_t min, uint32_t max = kMaxNumber)
{
    const std::optional<std::string> word = words->nextWord();
    const std::optional<uint32_t> number = word ? parseNumber(*word, min, max) : std::nullopt;
    if (!word) {
        words->fail(std::string("The command needs ") + name + ".");
    } else if (!number) {
        words->fail(numberMistake(name, *word, min, max));
    }
    return number.value_or(min);
}

/// A text, empty or not, in the place of the word @p name.
void readText(CommandWords* words, const char* name, sControlCommand* command)
{
    const std::optional<std::string> word = words->nextWord();
    if (word) {
        command->texts.push_back(*word);
    } else {
        words->fail(std::string("The command needs ") + name + ".");
    }
}

void readGetObject(CommandWords* words, sControlCommand* command)
{
    const std::string word = words->word();
    if (word == "link" || word == "scenario") {
        command->kind = word == "link" ? Kind::GET_LINK : Kind::GET_SCENARIO;
        return;
    }
    const ObjectWord* object = findObject(word);
    if (object == nullptr) {
        words->fail(word.empty() ? "The command does not say what to get."
                                 : "There is no " + quote(word) + " to get.");
        return;
    }
    command->type = object->type;
    if (object->type == OBJ_DEVICE || object->type == OBJ_CAPABILITY) {
        return;
    }
    const std::optional<std::string> port = words->nextWord();
    if (port && *port != "*") {
        const std::optional<uint32_t> number = parseNumber(*port, 1);
        if (!number) {
            words->fail("PORT is neither * nor a whole number from 1 to 4294967295: " + quote(*port) + ".");
        }
        command->number = number.value_or(1);
    }
}

void readGet(CommandWords* words, sControlCommand* command) { readGetObject(words, command); }

void readSet(CommandWords* words, sControlCommand* command)
{
    const std::string word = words->word();
    if (word != "din" && word != "ain") {
        words->fail(word.empty()
                        ? "The command does not say what to set."
                        : "There is no " + quote(word) + " to set: only din and ain are the device's.");
        return;
    }
    command->kind = word == "din" ? Kind::SET_DIGITAL : Kind::SET_ANALOG;
    command->number = readNumber(words, "PORT", 1);
    if (word == "ain") {
        command->value = readNumber(words, "N", 0, 100);
        return;
    }
    const std::string state = words->word();
    command->value = state == "high" ? 1 : 0;
    if (state.empty()) {
        words->fail("The command needs high or low.");
    } else if (state != "high" && state != "low") {
        words->fail("The state is neither high nor low: " + quote(state) + ".");
    }
}

void readScan(CommandWords* words, sControlCommand* command)
{
    command->number = readNumber(words, "SCANNER", 1);
    readText(words, "CODE", command);
}

void readAdhoc(CommandWords* words, sControlCommand* command)
{
    command->number = readNumber(words, "ID", 1, 99);
    readText(words, "LABEL", command);
    readText(words, "VALUE", command);
}

void readWire(CommandWords* words, sControlCommand* command)
{
    const std::string word = words->word();
    if (word != "din" && word != "ain") {
        words->fail(word.empty() ? "The command needs din or ain."
                                 : "The input is neither din nor ain: " + quote(word) + ".");
        return;
    }
    command->type = word == "din" ? OBJ_PORT_DIN : OBJ_PORT_AIN;
    command->number = readNumber(words, "the input N", 1);
    command->value = readNumber(words, "the output M", 1);
}

void readConnect(CommandWords* words, sControlCommand* command)
{
    if (const std::optional<std::string> word = words->nextWord()) {
        command->server = parseHostPort(*word);
        if (!command->server) {
            words->fail("The server is not HOST:PORT, with a port from 1 to 65535: " + quote(*word) + ".");
        }
    }
}

void readLoad(CommandWords* words, sControlCommand* command) { readText(words, "FILE", command); }

void readScript(CommandWords* words, sControlCommand* command)
{
    readText(words, "FILE", command);
    while (std::optional<std::string> argument = words->nextWord()) {
        command->texts.push_back(std::move(*argument));
    }
}

void readExpect(CommandWords* words, sControlCommand* command)
{
    constexpr Kind kKinds[] = {Kind::EXPECT_EVENT, Kind::EXPECT_NO_EVENT, Kind::EXPECT_GET};
    const auto get = [&] {
        readGetObject(words, command);
        if (command->kind == Kind::GET_LINK) {
            words->fail("The command expects no link: wait link up or wait link down does.");
        } else if (command->kind == Kind::GET_SCENARIO) {
            words->fail("The command expects nothing of a scenario: a step of it may.");
        }
        command->filter.objectType = command->type;
        return command->type == OBJ_PORT_AIN ? &kSliderValue : nullptr;
    };
    command->kind = kKinds[static_cast<size_t>(readExpected(words, &command->filter, get))];
}

void readWait(CommandWords* words, sControlCommand* command)
{
    const std::string what = words->word();
    const std::string state = what == "link" ? words->word() : "";
    if (what == "link" && (state == "up" || state == "down")) {
        command->kind = state == "up" ? Kind::WAIT_LINK_UP : Kind::WAIT_LINK_DOWN;
    } else if (what != "scripts") {
        words->fail("The command waits for \"link up\", \"link down\" or \"scripts\".");
    }
}

void readPause(CommandWords* words, sControlCommand* command) { readSleep(words, command); }

void readNothing(CommandWords*, sControlCommand*) {}

constexpr std::array kVerbs = std::to_array<Verb<sControlCommand>>({
    {"get", Kind::GET, readGet,
     "get device|capability|link|scenario\n"
     "get din|dout|ain|aout|scanner [PORT|*]\n"},
    {"set", Kind::SET_DIGITAL, readSet,
     "set din PORT high|low\n"
     "set ain PORT N\n"},
    {"scan", Kind::SCAN, readScan, "scan SCANNER CODE\n"},
    {"adhoc", Kind::ADHOC, readAdhoc, "adhoc ID LABEL VALUE\n"},
    {"wire", Kind::WIRE, readWire, "wire din|ain N M\n"},
    {"unwire", Kind::UNWIRE, readWire, "unwire din|ain N M\n"},
    {"connect", Kind::CONNECT, readConnect, "connect [HOST:PORT]\n", false, "timeout", 10.0},
    {"disconnect", Kind::DISCONNECT, readNothing, "disconnect\n"},
    {"load", Kind::LOAD, readLoad, "load FILE\n"},
    {"script", Kind::SCRIPT, readScript, "script FILE [ARGUMENT]...\n"},
    {"scenario", Kind::SCENARIO, readLoad, "scenario FILE\n"},
    {"expect", Kind::EXPECT_EVENT, readExpect,
     "expect event [OBJECT-TYPE [NAME=VALUE]...]\n"
     "expect no event [OBJECT-TYPE [NAME=VALUE]...]\n"
     "expect get ... [NAME=VALUE]...\n",
     false, "within", 10.0},
    {"wait", Kind::WAIT_SCRIPTS, readWait,
     "wait link up|down\n"
     "wait scripts\n",
     false, "timeout", 10.0},
    {"forget", Kind::FORGET, readNothing, "forget\n"},
    {"sleep", Kind::SLEEP, readPause, "sleep S\n"},
    {"help", Kind::HELP, readNothing, "help\n"},
    {"quit", Kind::QUIT, readNothing, "quit\n"},
});

/// The commands for a program with several devices: those about a device name it.
constexpr auto kFleetVerbs = [] {
    auto verbs = kVerbs;
    for (Verb<sControlCommand>& verb : verbs) {
        verb.namesDevice = verb.kind != Kind::SCENARIO && verb.kind != Kind::FORGET &&
                           verb.kind != Kind::SLEEP && verb.kind != Kind::HELP && verb.kind != Kind::QUIT;
        verb.namesEveryDevice = verb.namesDevice;
    }
    return verbs;
}();

} // namespace

std::string parseControlCommand(const std::string& line, sControlCommand* command)
{
    return readCommand<sControlCommand>(line, kVerbs, command);
}

std::string parseFleetCommand(const std::string& line, sControlCommand* command)
{
    std::string mistake = readCommand<sControlCommand>(line, kFleetVerbs, command);
    return mistake.empty() && command->filter.peer
               ? "The command names a device by device=SERIAL or device=*."
               : mistake;
}

std::string controlHelp()
{
    return helpOf<sControlCommand>(kVerbs) +
           "connect and wait take 10 seconds; timeout=S changes that.\n"
           "expect looks for 10 seconds; within=S changes that. NAME=VALUE is a field as the lines print "
           "it.\n"
           "A word with blanks or an equals sign stands in quotation marks, as JSON writes a text.\n";
}

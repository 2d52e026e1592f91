#include "proxy/commands/commandparser.h"

#include <algorithm>

#include "proxy/rules/ruleparser.h"
#include "proxy/rules/rulewords.h"

namespace proxy {

using namespace zulcommand;

namespace {

void readRuleCommand(CommandWords* words, Command* command)
{
    const std::string word = words->word();
    if (word == "list") {
        command->kind = Command::Kind::RULE_LIST;
        return;
    }
    if (word != "clear") {
        words->fail("The command needs \"add\", \"list\" or \"clear\".");
        return;
    }
    command->kind = Command::Kind::RULE_CLEAR;
    if (const std::optional<std::string> number = words->nextWord()) {
        command->number = parseNumber(*number, 1);
        if (!command->number) {
            words->fail(numberMistake("N", *number, 1));
        }
    }
}

/// The serial number of one device; nothing if all are meant.
std::optional<uint32_t> readSerial(CommandWords* words)
{
    const std::optional<std::string> device = words->text("device");
    if (!device || *device == "*") {
        return std::nullopt;
    }
    const std::optional<uint32_t> serial = parseNumber(*device);
    if (!serial) {
        words->fail("device is neither SERIAL nor *: " + quote(*device) + ".");
    }
    return serial;
}

template <eFault Fault>
void readConnectionFault(CommandWords* words, Command* command)
{
    command->fault = Fault;
    command->deviceSerial = readSerial(words);
}

void readExpectedFault(CommandWords* words, Command* command)
{
    if (words->word() != "fault") {
        words->fail("The command expects \"fault\".");
        return;
    }
    FaultLog::Filter& wanted = command->wanted;
    const std::string name = words->word();
    const std::optional<eFault> kind = parseFaultKind(name);
    wanted.kind = kind.value_or(wanted.kind);
    if (!kind) {
        words->fail(name.empty() ? "The command needs the KIND of a fault."
                                 : "There is no kind " + quote(name) + ".");
    }
    wanted.deviceSerial = readSerial(words);
    wanted.direction = readDirection(words);
    wanted.rule = words->number("rule");
    wanted.connection = words->number("connection", 1);
    wanted.object = readObjectField(words);
    if (const std::optional<uint32_t> number = words->number("msgSeq", 0, 255)) {
        wanted.msgSeq = static_cast<uint8_t>(*number);
    }
}

void readPause(CommandWords* words, Command* command) { readSleep(words, command); }

void readNothing(CommandWords*, Command*) {}

constexpr Verb<Command> kVerbs[] = {
    {"rule", Command::Kind::RULE_LIST, readRuleCommand,
     "rule add RULE\n"
     "rule list\n"
     "rule clear [N]\n"},
    {"connections", Command::Kind::CONNECTIONS, readNothing, "connections\n"},
    {"cut", Command::Kind::CONNECTION_FAULT, readConnectionFault<eFault::CUT>, "cut [device=SERIAL|*]\n"},
    {"reset", Command::Kind::CONNECTION_FAULT, readConnectionFault<eFault::RESET>,
     "reset [device=SERIAL|*]\n"},
    {"silence", Command::Kind::CONNECTION_FAULT, readConnectionFault<eFault::SILENCE>,
     "silence [device=SERIAL|*]\n"},
    {"expect", Command::Kind::EXPECT_FAULT, readExpectedFault,
     "expect fault KIND [device=SERIAL] [dir=to-server|to-device] [rule=N] [object=OBJECT-TYPE] [msgSeq=N] "
     "[connection=N]\n",
     false, "within", 10.0},
    {"forget", Command::Kind::FORGET, readNothing, "forget\n"},
    {"sleep", Command::Kind::SLEEP, readPause, "sleep S\n"},
    {"help", Command::Kind::HELP, readNothing, "help\n"},
    {"quit", Command::Kind::QUIT, readNothing, "quit\n"},
};

/// The rule in "rule add RULE", which is no line of words and fields; nothing for any other line.
std::optional<std::string> addedRule(const std::string& line)
{
    std::string rest = trimmed(line);
    for (const std::string word : {"rule", "add"}) {
        const size_t end = std::min(rest.find_first_of(kBlanks), rest.size());
        if (rest.substr(0, end) != word) {
            return std::nullopt;
        }
        rest = trimmed(rest.substr(end));
    }
    return rest;
}

} // namespace

std::string parseCommand(const std::string& line, Command* command)
{
    const std::optional<std::string> rule = addedRule(line);
    if (rule && lineMistake(line).empty()) {
        *command = Command();
        command->kind = Command::Kind::RULE_ADD;
        return parseRule(*rule, &command->rule);
    }
    return readCommand<Command>(line, kVerbs, command);
}

std::string commandHelp()
{
    return helpOf<Command>(kVerbs) +
           "A RULE is a kind and fields, as --rule takes it.\n"
           "Without device=SERIAL the commands cut, reset and silence mean every open connection.\n"
           "expect looks for 10 seconds; within=S changes that. It takes a fault that came before, too.\n";
}

} // namespace proxy

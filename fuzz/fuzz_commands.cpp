// The server's command language. The input is one command line.

#include <algorithm>
#include <cmath>

#include "fuzzinput.h"
#include "jsontext.h"
#include "property.h"
#include "server/commands/commandparser.h"
#include "zulcommand/commandwords.h"
#include "zulcommand/reply.h"
#include "zulobj/recordfactory.h"

namespace {

using server::Command;

bool sameBits(double a, double b) { return a == b && std::signbit(a) == std::signbit(b); }

bool sameConditions(const zulcommand::Conditions& a, const zulcommand::Conditions& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const auto& one, const auto& other) { return one.text() == other.text(); });
}

bool same(const Command& a, const Command& b)
{
    return a.kind == b.kind && a.message.type == b.message.type && a.message.payload == b.message.payload &&
           a.everyDevice == b.everyDevice && a.filter.deviceSerial == b.filter.deviceSerial &&
           a.filter.peer == b.filter.peer && a.filter.objectType == b.filter.objectType &&
           sameBits(a.seconds, b.seconds) && sameConditions(a.filter.conditions, b.filter.conditions);
}

bool isExpectation(const Command& command)
{
    return command.kind == Command::Kind::EXPECT_EVENT || command.kind == Command::Kind::EXPECT_NO_EVENT ||
           command.kind == Command::Kind::EXPECT_ANSWER;
}

/// Every condition is on a field that the object has, and answers for a record in its first state.
void checkConditions(const Command& command)
{
    const zulcommand::MessageLog::Filter& filter = command.filter;
    if (filter.conditions.empty()) {
        return;
    }
    require(isExpectation(command) && filter.objectType.has_value(), "conditions are an object's");
    const auto record = zulobj::createRecord(static_cast<eObjectTypes>(*filter.objectType));
    const JsonRef json(record->getJSONObj());
    for (const zulcommand::Condition& condition : filter.conditions) {
        require(json_object_get(json.get(), condition.name()) != nullptr, "an object has the field");
        require(!condition.holds(nullptr), "where no field is, no condition holds");
        condition.holds(json.get());
    }
}

void checkCommand(const Command& command)
{
    const bool exchange =
        command.kind == Command::Kind::EXCHANGE || command.kind == Command::Kind::EXPECT_ANSWER;
    const bool wait = command.kind == Command::Kind::WAIT_EVENT ||
                      command.kind == Command::Kind::WAIT_DEVICE || isExpectation(command);
    cObjectList sent;
    require(sent.decode(command.message).isOk(), "a command's message is readable");
    require(sent.size() == (exchange ? 1U : 0U), "a get and a set have an object, and nothing else has");
    require(!exchange || command.message.type <= cObjectList::kRequest, "an exchange is a set or a request");
    require(command.seconds >= 0.0 && command.seconds <= zulcommand::kMaxSeconds, "no time is beyond a day");
    require(!(exchange || wait) || command.seconds > 0.0, "nobody waits for no time");
    require(!command.filter.objectType || exchange || command.kind == Command::Kind::WAIT_EVENT ||
                isExpectation(command),
            "only what is waited for has a type");
    require(!command.everyDevice || (command.kind == Command::Kind::EXCHANGE &&
                                     !command.filter.deviceSerial && !command.filter.peer),
            "all devices are asked by a get or a set, and then none is named");
    checkConditions(command);
}

void checkMistake(const std::string& line, const std::string& mistake)
{
    require(mistake.back() == '.', "a mistake is a sentence");
    require(mistake.size() < line.size() + 500, "a mistake repeats a part of its line at most");
}

/// Words in their order with the fields behind them: the same command.
std::string withFieldsLast(const std::string& line)
{
    std::string words;
    std::string fields;
    std::string token;
    bool marked = false; // inside a value in quotation marks
    const auto finish = [&] {
        std::string& kind = token.find('=') == std::string::npos ? words : fields;
        kind += token.empty() ? "" : " " + token;
        token.clear();
    };
    for (size_t at = 0; at < line.size(); ++at) {
        if (!marked && std::string(" \t\r\n\v\f").find(line[at]) != std::string::npos) {
            finish();
            continue;
        }
        if (line[at] == '"') {
            marked = !marked && !token.empty() && token.find('=') == token.size() - 1;
        }
        token += line[at];
        if (marked && line[at] == '\\' && at + 1 < line.size()) {
            token += line[++at];
        }
    }
    finish();
    return words + fields;
}

void checkReply(const std::string& line, const std::string& mistake)
{
    zulcommand::Reply reply;
    reply.status = mistake.empty() ? zulcommand::Reply::Status::TIMEOUT : zulcommand::Reply::Status::ERROR;
    reply.error = mistake;
    const std::string text = zulcommand::dumped(zulcommand::replyLine(line, 0.25, reply));
    require(!text.empty() && text.find('\n') == std::string::npos, "a reply is one line");
    const JsonRef json = jsonOf(text, 0);
    require(json != nullptr, "a reply is JSON");
    const JsonRef asUTF8(json_stringn_nocheck(line.data(), line.size()));
    const JsonRef valid(json_stringn(line.data(), line.size()));
    const bool plain = valid != nullptr && line.find('\0') == std::string::npos;
    require(!plain || json_equal(json_object_get(json.get(), "command"), asUTF8.get()) == 1,
            "a reply repeats its command");
    require((json_object_get(json.get(), "error") != nullptr) == !mistake.empty(), "an error has its reason");
}

void checkNumbers(const std::string& word)
{
    const std::optional<uint32_t> number = zulcommand::parseNumber(word, 10, 1000);
    require(!number || (*number >= 10 && *number <= 1000), "a number lies in its range");
    const bool digits = !word.empty() && word.size() < 10 &&
                        std::all_of(word.begin(), word.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (digits) {
        const unsigned long expected = std::stoul(word);
        require(number.has_value() == (expected >= 10 && expected <= 1000), "a number in its range is taken");
        require(!number || *number == expected, "a number is what its digits say");
    }
    const std::optional<float> real = zulcommand::parseFloat(word);
    require(!real || std::isfinite(*real), "a float is finite");
    require(!real || zulcommand::parseAnyFloat(word) == real, "a finite float is a float");
    const std::optional<double> seconds = zulcommand::parseSeconds(word);
    require(!seconds || (*seconds >= 0.0 && *seconds <= zulcommand::kMaxSeconds),
            "a time is no longer than a day");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    const std::string line = input.restText();
    const std::string trimmed = zulcommand::trimmed(line);
    require(zulcommand::trimmed(trimmed) == trimmed && line.find(trimmed) != std::string::npos,
            "a line loses its blanks once");
    if (zulcommand::isSkipped(trimmed)) {
        return 0;
    }
    Command command;
    const std::string mistake = server::parseCommand(trimmed, &command);
    checkReply(trimmed, mistake);
    checkNumbers(trimmed.substr(trimmed.find_last_of(" =") + 1));
    if (!mistake.empty()) {
        checkMistake(trimmed, mistake);
    } else {
        checkCommand(command);
    }
    if (server::caseName(trimmed)) {
        return 0; // its name is the line as it is
    }
    const std::string moved = withFieldsLast(trimmed);
    if (moved.size() <= zulcommand::kMaxCommandBytes && trimmed.size() <= zulcommand::kMaxCommandBytes) {
        Command other;
        require(server::parseCommand(moved, &other).empty() == mistake.empty(), "a field stands anywhere");
        require(!mistake.empty() || same(command, other), "a field means the same anywhere");
    } else if (trimmed.size() > zulcommand::kMaxCommandBytes) {
        require(!mistake.empty(), "a line that is too long is refused");
    }
    return 0;
}

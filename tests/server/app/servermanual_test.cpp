// The manual page of the server and the program speak the same words.

#include <array>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "documentmessages.h"
#include "server/commands/commandparser.h"
#include "server/io/jsonline.h"
#include "zulcommand/commandwords.h"
#include "zulcommand/reply.h"
#include "zuldict/zuldict.h"
#include "zulhttp/programsite.h"
#include "zulobj/device.h"

using namespace server;
using namespace zulcommand;

namespace {

using Words = std::set<std::string>;
using Row = std::vector<std::string>;

std::string contentOf(const char* path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

const std::string& manual()
{
    static const std::string text = contentOf(SERVER_MANUAL);
    return text;
}

/// The cells of a line of a table. A mark that stands for itself has a backslash before it.
Row cellsOf(const std::string& line)
{
    Row cells;
    std::string cell;
    for (size_t at = 1; at < line.size(); ++at) {
        if (line[at] == '|' && line[at - 1] != '\\') {
            cells.push_back(trimmed(cell));
            cell.clear();
        } else if (line[at] != '\\') {
            cell += line[at];
        }
    }
    return cells;
}

/// The rows of the table whose head begins with @p first and @p second.
std::vector<Row> table(const std::string& first, const std::string& second)
{
    std::istringstream lines(manual());
    std::vector<Row> rows;
    bool inside = false;
    for (std::string line; std::getline(lines, line);) {
        const Row cells = line[0] == '|' ? cellsOf(line) : Row();
        if (inside && cells.size() >= 2 && cells[0].find("---") != 0) {
            rows.push_back(cells);
        }
        inside = cells.size() >= 2 && (inside || (cells[0] == first && cells[1] == second));
    }
    return rows;
}

/// What stands between backquotes in @p text.
Words quotedIn(const std::string& text)
{
    static const std::regex pattern("`([^`]*)`");
    Words words;
    for (std::sregex_iterator found(text.begin(), text.end(), pattern), end; found != end; ++found) {
        words.insert((*found)[1]);
    }
    return words;
}

/// Everything that @p pattern finds in @p text.
Words foundIn(const std::string& text, const char* pattern)
{
    const std::regex expression(pattern);
    Words words;
    for (std::sregex_iterator found(text.begin(), text.end(), expression), end; found != end; ++found) {
        words.insert((*found)[1]);
    }
    return words;
}

std::string helpText()
{
    FILE* pipe = ::popen(ZULSERVER_PATH " --help", "re");
    std::string text;
    std::array<char, 4096> block;
    for (size_t size = 1; pipe != nullptr && size > 0;) {
        size = std::fread(block.data(), 1, block.size(), pipe);
        text.append(block.data(), size);
    }
    return pipe != nullptr && ::pclose(pipe) == 0 ? text : std::string();
}

Words keysOf(const JsonPtr& line)
{
    Words keys;
    const char* key = nullptr;
    json_t* value = nullptr;
    json_object_foreach(line.get(), key, value) { keys.insert(key); }
    return keys;
}

/// @p line as it is printed.
JsonPtr printed(const JsonPtr& line)
{
    return JsonPtr(json_loads(lineText(line, std::chrono::system_clock::now()).c_str(), 0, nullptr));
}

JsonPtr replyWithEverything()
{
    Reply reply;
    reply.error = "It failed.";
    reply.received.reset(json_array());
    return replyLine("quit", 0.0, reply);
}

/// The lines of the help that are commands, not sentences.
Words commandsOfHelp()
{
    Words commands;
    std::istringstream lines(commandHelp());
    for (std::string line; std::getline(lines, line);) {
        if (line.back() != '.' || line.find("...") != std::string::npos) {
            commands.insert(line);
        }
    }
    return commands;
}

/// A command as the manual writes it, with values for what stands in capitals.
std::string filledIn(std::string command)
{
    const std::pair<const char*, const char*> replacements[] = {
        {R"(\bdin\|dout\|ain\|aout\b)", "din"},
        {R"(\[PORT\|\*\])", "1"},
        {R"(PORT\|\*)", "1"},
        {R"(high\|low)", "high"},
        {R"(\bdevice\|capability\b)", "device"},
        {R"(OBJECT-TYPE)", "OBJ_PORT_DIN"},
        {R"(NAME=VALUE)", "portId=1"},
        {R"(get \.\.\.)", "get din 1"},
        {R"(\bPORT SEQ\b)", "1 1"},
        {R"(=N\b)", "=1"},
        {R"(=SERIAL\b)", "=1"},
        {R"(=F\b)", "=1"},
        {R"(\bNAME\b)", "Name"},
        {R"(sleep S)", "sleep 0"},
        {R"([\[\]]|\.\.\.)", ""},
    };
    for (const auto& [pattern, value] : replacements) {
        command = std::regex_replace(command, std::regex(pattern), value);
    }
    return command;
}

} // namespace

TEST(ServerManualTest, everyOptionIsInTheManualAndInTheHelp)
{
    Words inManual;
    for (const Row& row : table("option", "meaning")) {
        const Words found = foundIn(row[0], "(--[a-z-]+)");
        inManual.insert(found.begin(), found.end());
    }
    EXPECT_GE(inManual.size(), 10U);
    EXPECT_EQ(inManual, foundIn(helpText(), R"(\n\s+(?:-\w,)?(--[a-z-]+))"));
}

TEST(ServerManualTest, everyExitStatusIsInTheManualAndInTheHelp)
{
    Words inManual;
    for (const Row& row : table("status", "meaning")) {
        inManual.insert(row[0]);
    }
    EXPECT_EQ(inManual, (Words{"0", "1", "2", "3", "4"}));
    EXPECT_EQ(inManual, foundIn(helpText().substr(helpText().find("Exit status:")), R"(\b(\d)\b)"));
}

/// The line that says where HTTP is served.
JsonPtr httpLine()
{
    boost::asio::io_context io;
    return zulhttp::ProgramSite(io, {}, "zulserver").line();
}

TEST(ServerManualTest, everyLineHasTheMembersThatTheManualNames)
{
    const cObjectDevice device;
    const cObjectList list;
    const std::pair<const char*, JsonPtr> lines[] = {
        {"listening", listeningLine("::1", 1)}, {"http", httpLine()},
        {"connected", connectedLine("peer")},   {"device", deviceLine("peer", device)},
        {"message", messageLine(1, list)},      {"answer", answerLine("peer", 1, list)},
        {"reply", replyWithEverything()},       {"disconnected", disconnectedLine("peer", nullptr, "reason")},
    };
    const std::vector<Row> rows = table("`event`", "when");
    ASSERT_EQ(rows.size(), std::size(lines));
    ASSERT_EQ(rows.size(), kEvents.size());
    for (size_t i = 0; i < rows.size(); ++i) {
        Words members = quotedIn(rows[i][2]);
        members.insert({"event", "time"});
        if (rows[i][0] == "`device`") {
            const Words fields = keysOf(JsonPtr(device.getJSONObj()));
            members.insert(fields.begin(), fields.end());
            members.erase("type");
        }
        EXPECT_EQ(rows[i][0], "`" + std::string(lines[i].first) + "`");
        EXPECT_STREQ(lines[i].first, kEvents[i]);
        EXPECT_EQ(members, keysOf(printed(lines[i].second))) << rows[i][0];
    }
}

TEST(ServerManualTest, everyStatusOfAReplyIsExplained)
{
    const size_t begin = manual().find("### Replies");
    const std::string section = manual().substr(begin, manual().find("\n#", begin + 1) - begin);
    Words program;
    for (const Reply::Status status :
         {Reply::Status::OK, Reply::Status::TIMEOUT, Reply::Status::ERROR, Reply::Status::FAILED}) {
        program.insert(statusWord(status));
    }
    EXPECT_EQ(foundIn(section, "\n- `([a-z]+)`: "), program);
}

TEST(ServerManualTest, everyCommandOfTheManualIsUnderstood)
{
    size_t commands = 0;
    for (const Row& row : table("command", "meaning")) {
        for (const std::string& command : quotedIn(row[0])) {
            ++commands;
            Command parsed;
            EXPECT_EQ(parseCommand(filledIn(command), &parsed), "") << command << " as " << filledIn(command);
        }
    }
    EXPECT_GE(commands, 19U);
}

TEST(ServerManualTest, everyExpectationThatIsShownIsUnderstood)
{
    const Words shown = foundIn(manual() + contentOf(AUTOMATION_MANUAL), "\n(expect [^\n]*)");
    EXPECT_GE(shown.size(), 9U);
    for (const std::string& command : shown) {
        Command parsed;
        EXPECT_EQ(parseCommand(command, &parsed), "") << command;
    }
}

TEST(ServerManualTest, everyCommandOfTheHelpIsInTheManual)
{
    Words inManual;
    for (const Row& row : table("command", "meaning")) {
        for (const std::string& command : quotedIn(row[0])) {
            inManual.insert(
                std::regex_replace(command, std::regex("get (device|capability)"), "get device|capability"));
        }
    }
    Words inHelp;
    for (const std::string& command : commandsOfHelp()) {
        // The manual has these in a table of their own.
        inHelp.insert(std::regex_replace(command, std::regex(R"( \[(serial|portType)=N\])"), ""));
    }
    EXPECT_EQ(inHelp, inManual);
}

TEST(ServerManualTest, everyFieldIsTakenWhereTheManualSaysSo)
{
    struct Example
    {
        const char* word;  ///< that stands for the command in the table
        const char* group; ///< the word that stands for it and others
        const char* command;
    };
    const Example examples[] = {
        {"", "get", "get device"},         {"get din", "get", "get din 1"},
        {"dout", "get", "get dout 1"},     {"ain", "get", "get ain 1"},
        {"aout", "get", "get aout 1"},     {"set", "", "set din 1 default=high"},
        {"wait", "", "wait event"},        {"expect", "", "expect event"},
        {"send", "", "send type=1"},       {"forget", "", "forget"},
        {"sleep", "", "sleep 0"},          {"drop", "", "drop"},
        {"object", "get", "get object=1"},
    };
    const std::vector<Row> rows = table("field", "in");
    ASSERT_EQ(rows.size(), 6U);
    for (const Row& row : rows) {
        Words where;
        std::istringstream list(row[1]);
        for (std::string word; std::getline(list, word, ',');) {
            where.insert(trimmed(word));
        }
        const std::string name = row[0].substr(1, row[0].find('=') - 1);
        const char* const value = name == "peer" ? "=127.0.0.1:1" : "=1";
        for (const Example& example : examples) {
            Command parsed;
            const bool taken =
                parseCommand(std::string(example.command) + " " + name + value, &parsed).empty();
            EXPECT_EQ(taken, where.count(example.word) + where.count(example.group) > 0)
                << name << " in " << example.command;
        }
    }
}

TEST(ServerManualTest, everyNameOfTheDictionaryIsInTheDocumentOfTheBytes)
{
    const std::string text = documentText();
    const auto isThere = [&text](const std::string& name) {
        return std::regex_search(text, std::regex("\\b" + name + "\\b"));
    };
    for (const zuldict::Enumerator& type : zuldict::objectTypes()) {
        EXPECT_TRUE(isThere(type.name)) << type.name;
    }
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        EXPECT_TRUE(isThere(entry.name)) << entry.name;
        for (const zuldict::Enumerator& enumerator : entry.names) {
            EXPECT_TRUE(isThere(enumerator.name)) << enumerator.name;
        }
    }
}

TEST(ServerManualTest, commandsSendTheMessagesOfTheDocumentOfTheBytes)
{
    const std::pair<const char*, const char*> commands[] = {
        {"get device", "request-device"},
        {"get din 3 portType=1 serial=1001", "request-plain-port"},
        {"get dout 9 serial=1001", "request-no-such-port"},
        {"get capability serial=1001", "request-capabilities"},
        {"set ain 1 offset=0.5 serial=1001", "set-analog-input"},
        {"set dout 2 state=high serial=1001", "set-digital-output"},
    };
    std::map<std::string, std::vector<uint8_t>> messages = documentMessages();
    for (const auto& [text, name] : commands) {
        Command command;
        ASSERT_EQ(parseCommand(text, &command), "") << text;
        const std::vector<uint8_t>& expected = messages[name];
        ASSERT_GT(expected.size(), wmsg::kHeaderSize) << name;
        command.message.seq = expected[5];
        EXPECT_EQ(framesOf(command.message), expected) << text;
    }
}

TEST(ServerManualTest, everyNameInCapitalsIsOneOfTheDictionary)
{
    Words known;
    for (const zuldict::Enumerator& type : zuldict::objectTypes()) {
        known.insert(type.name);
    }
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        for (const zuldict::Enumerator& enumerator : entry.names) {
            known.insert(enumerator.name);
        }
    }
    for (const std::string& name : foundIn(manual(), R"(\b((?:OBJ|TYPE)_[A-Z_]+))")) {
        EXPECT_EQ(known.count(name), 1U) << name;
    }
}

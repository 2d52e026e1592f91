#include "proxy/commands/commandparser.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace proxy {

namespace {

using Kind = Command::Kind;

Command parsed(const std::string& line)
{
    Command command;
    EXPECT_EQ(parseCommand(line, &command), "") << line;
    return command;
}

std::string mistakeIn(const std::string& line)
{
    Command command;
    return parseCommand(line, &command);
}

} // namespace

TEST(ProxyCommandTest, everyCommandIsUnderstood)
{
    const std::vector<std::pair<std::string, Kind>> commands = {
        {"rule add lose p=0.5", Kind::RULE_ADD},
        {"rule list", Kind::RULE_LIST},
        {"rule clear", Kind::RULE_CLEAR},
        {"rule clear 3", Kind::RULE_CLEAR},
        {"connections", Kind::CONNECTIONS},
        {"cut", Kind::CONNECTION_FAULT},
        {"reset device=*", Kind::CONNECTION_FAULT},
        {"silence device=1001", Kind::CONNECTION_FAULT},
        {"expect fault late within=2", Kind::EXPECT_FAULT},
        {"forget", Kind::FORGET},
        {"sleep 0.5", Kind::SLEEP},
        {"help", Kind::HELP},
        {"quit", Kind::QUIT},
    };
    for (const auto& [line, kind] : commands) {
        EXPECT_EQ(parsed(line).kind, kind) << line;
    }
}

TEST(ProxyCommandTest, theRestOfRuleAddIsTheRule)
{
    const Command command = parsed("rule   add \t field portLabel=\"front door\" device=1001 p=0.5 ");
    EXPECT_EQ(command.rule.kind, eFault::FIELD);
    EXPECT_EQ(command.rule.text, "field portLabel=\"front door\" device=1001 p=0.5");
    EXPECT_EQ(command.rule.change.text, "front door");
    EXPECT_EQ(command.rule.devices->first, 1001U);
    EXPECT_FALSE(command.deviceSerial);
}

TEST(ProxyCommandTest, aMistakeInTheRuleIsThatOfTheRule)
{
    EXPECT_EQ(mistakeIn("rule add loose"), "There is no kind \"loose\".");
    EXPECT_EQ(mistakeIn("rule add lose p=2"), "p is not a number from 0 to 1: \"2\".");
    EXPECT_EQ(mistakeIn("rule add"), "The rule is empty.");
}

TEST(ProxyCommandTest, ofRulesOneOrAllAreCleared)
{
    EXPECT_EQ(parsed("rule clear").number, std::nullopt);
    EXPECT_EQ(parsed("rule clear 3").number, 3U);
}

TEST(ProxyCommandTest, aDeviceOrAllAreMeant)
{
    EXPECT_EQ(parsed("cut").deviceSerial, std::nullopt);
    EXPECT_EQ(parsed("cut device=*").deviceSerial, std::nullopt);
    EXPECT_EQ(parsed("cut device=1001").deviceSerial, 1001U);
    EXPECT_EQ(parsed("cut").fault, eFault::CUT);
    EXPECT_EQ(parsed("reset").fault, eFault::RESET);
    EXPECT_EQ(parsed("silence").fault, eFault::SILENCE);
}

TEST(ProxyCommandTest, aFaultIsExpectedByItsParts)
{
    const Command command = parsed("expect fault late device=1001 dir=to-device rule=2 object=OBJ_PORT_DIN "
                                   "msgSeq=255 connection=3 within=2.5");
    EXPECT_EQ(command.wanted.kind, eFault::LATE);
    EXPECT_EQ(command.wanted.deviceSerial, 1001U);
    EXPECT_EQ(command.wanted.direction, eDirection::TO_DEVICE);
    EXPECT_EQ(command.wanted.rule, 2U);
    EXPECT_EQ(command.wanted.connection, 3U);
    EXPECT_EQ(command.wanted.object, static_cast<uint32_t>(OBJ_PORT_DIN));
    EXPECT_EQ(command.wanted.msgSeq, 255);
    EXPECT_EQ(command.seconds, 2.5);
}

TEST(ProxyCommandTest, anExpectationLooksForTenSecondsUnlessItSaysOtherwise)
{
    EXPECT_EQ(parsed("expect fault late").seconds, 10.0);
}

TEST(ProxyCommandTest, anAliasIsExpectedAsTheKindThatItMeans)
{
    EXPECT_EQ(parsed("expect fault latency").wanted.kind, eFault::DELAY);
    EXPECT_EQ(parsed("expect fault timeout").wanted.kind, eFault::SILENCE);
}

TEST(ProxyCommandTest, everyMistakeIsOneSentenceThatNamesTheWord)
{
    const std::vector<std::pair<std::string, std::string>> mistakes = {
        {"frobnicate", "There is no command \"frobnicate\"."},
        {"Rule list", "There is no command \"Rule\"."},
        {"rule", "The command needs \"add\", \"list\" or \"clear\"."},
        {"rule remove 1", "The command needs \"add\", \"list\" or \"clear\"."},
        {"rule list 1", "The command does not take \"1\"."},
        {"rule clear x", "N is not a whole number from 1 to 4294967295: \"x\"."},
        {"rule clear 0", "N is not a whole number from 1 to 4294967295: \"0\"."},
        {"rule clear 4294967296", "N is not a whole number from 1 to 4294967295: \"4294967296\"."},
        {"rule clear 1 2", "The command does not take \"2\"."},
        {"connections all", "The command does not take \"all\"."},
        {"cut 1001", "The command does not take \"1001\"."},
        {"cut device=x", "device is neither SERIAL nor *: \"x\"."},
        {"reset device=1001-1003", "device is neither SERIAL nor *: \"1001-1003\"."},
        {"silence dir=to-server", "The command does not take the field \"dir\"."},
        {"silence peer=127.0.0.1:1", "The command does not take the field \"peer\"."},
        {"expect", "The command expects \"fault\"."},
        {"expect event", "The command expects \"fault\"."},
        {"expect fault", "The command needs the KIND of a fault."},
        {"expect fault loose", "There is no kind \"loose\"."},
        {"expect fault late dir=up", "dir is none of to-server, to-device: \"up\"."},
        {"expect fault late msgSeq=256", "msgSeq is not a whole number from 0 to 255: \"256\"."},
        {"expect fault late rule=x", "rule is not a whole number from 0 to 4294967295: \"x\"."},
        {"expect fault late object=OBJ_X", "object is no type of an object: \"OBJ_X\"."},
        {"expect fault late within=0", "within is not a number of seconds above 0 and up to 86400: \"0\"."},
        {"expect fault late ms=5", "The command does not take the field \"ms\"."},
        {"sleep", "The command needs a number of seconds."},
        {"sleep -1", "The time is not a number of seconds from 0 to 86400: \"-1\"."},
        {"quit now", "The command does not take \"now\"."},
        {"help=1", "The line does not begin with a command."},
    };
    for (const auto& [line, mistake] : mistakes) {
        EXPECT_EQ(mistakeIn(line), mistake) << line;
    }
}

TEST(ProxyCommandTest, textThatIsNoLineIsAMistake)
{
    EXPECT_EQ(mistakeIn(std::string("rule add lose\0", 14)), "The command holds a NUL.");
    EXPECT_EQ(mistakeIn("rule add \xFF"), "The command is not UTF-8.");
    EXPECT_EQ(mistakeIn("rule add " + std::string(4096, 'a')), "The command is longer than 4096 bytes.");
}

TEST(ProxyCommandTest, theHelpNamesEveryCommand)
{
    for (const char* command : {"rule add", "rule list", "rule clear", "connections", "cut", "reset",
                                "silence", "expect fault", "forget", "sleep", "help", "quit"}) {
        EXPECT_NE(("\n" + commandHelp()).find("\n" + std::string(command)), std::string::npos) << command;
    }
}

} // namespace proxy

#include <cmath>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <utility>

#include "server/commands/commandparser.h"
#include "zulcommand/commandwords.h"
#include "zulcommand/reply.h"
#include "zulobj/ainput.h"
#include "zulobj/aoutput.h"
#include "zulobj/objectlist.h"
#include "zulobj/recordfactory.h"

using namespace server;
using namespace zulcommand;

namespace {

struct Good
{
    const char* name;
    const char* line;
    Command::Kind kind;
    int msgType;
    double seconds;
    const char* object; ///< type and the fields that matter, as the JSON form has them, or null
};

void PrintTo(const Good& row, std::ostream* out) { *out << row.name; }

std::string rowName(const testing::TestParamInfo<Good>& info) { return info.param.name; }

/// The object that the command sends, or null.
std::unique_ptr<cObject> objectOf(const Command& command)
{
    cObjectList list;
    EXPECT_TRUE(list.decode(command.message).isOk());
    return std::unique_ptr<cObject>(list.size() == 0 ? nullptr : list.first()->clone());
}

constexpr Command::Kind kExchange = Command::Kind::EXCHANGE;
constexpr Command::Kind kEvent = Command::Kind::WAIT_EVENT;
constexpr Command::Kind kSend = Command::Kind::SEND;
constexpr Command::Kind kSleep = Command::Kind::SLEEP;

} // namespace

class GoodCommandTest : public testing::TestWithParam<Good>
{};

TEST_P(GoodCommandTest, isUnderstood)
{
    const Good& row = GetParam();
    Command command;
    ASSERT_EQ(parseCommand(row.line, &command), "");
    EXPECT_EQ(command.kind, row.kind);
    EXPECT_EQ(command.message.type, row.msgType);
    EXPECT_EQ(command.seconds, row.seconds);
    const std::unique_ptr<cObject> object = objectOf(command);
    ASSERT_EQ(object != nullptr, row.object != nullptr);
    if (row.object != nullptr) {
        const JsonPtr json(object->getJSONObj());
        const JsonPtr wanted(json_loads(row.object, 0, nullptr));
        ASSERT_TRUE(wanted);
        const char* key = nullptr;
        json_t* value = nullptr;
        json_object_foreach(wanted.get(), key, value)
        {
            EXPECT_TRUE(json_equal(value, json_object_get(json.get(), key))) << key << " in " << dumped(json);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    get, GoodCommandTest,
    testing::Values(
        Good{"device", "get device", kExchange, 1, 5, R"({"type":"OBJ_DEVICE","deviceSerial":4294967295})"},
        Good{"deviceSerial", "get device serial=0x10", kExchange, 1, 5,
             R"({"type":"OBJ_DEVICE","deviceSerial":16})"},
        Good{"capability", "get capability timeout=0.5", kExchange, 1, 0.5,
             R"({"type":"OBJ_CAPABILITY","deviceSerial":4294967295})"},
        Good{"everyDin", "get din", kExchange, 1, 5,
             R"({"type":"OBJ_PORT_DIN","deviceSerial":4294967295,"portId":4294967295,)"
             R"("portType":"OBJ_PORT_DIN"})"},
        Good{"starDin", "get din *", kExchange, 1, 5, R"({"type":"OBJ_PORT_DIN","portId":4294967295})"},
        Good{"oneDin", "get din 3", kExchange, 1, 5, R"({"type":"OBJ_PORT_DIN","portId":3})"},
        Good{"blanks", "get \t din    3", kExchange, 1, 5, R"({"type":"OBJ_PORT_DIN","portId":3})"},
        Good{"fieldsBeforeWords", "get serial=9 din timeout=7 3", kExchange, 1, 7,
             R"({"type":"OBJ_PORT_DIN","portId":3,"deviceSerial":9})"},
        Good{"hexPort", "get dout 0xfffffffe", kExchange, 1, 5,
             R"({"type":"OBJ_PORT_DOUT","portId":4294967294})"},
        Good{"portType", "get ain 1 portType=1", kExchange, 1, 5,
             R"({"type":"OBJ_PORT_AIN","portId":1,"portType":"OBJ_PORT"})"},
        Good{"aout", "get aout 2 serial=4294967295", kExchange, 1, 5,
             R"({"type":"OBJ_PORT_AOUT","portId":2,"portType":"OBJ_PORT_AOUT"})"},
        Good{"sample", "get sample 1 0", kExchange, 1, 5,
             R"({"type":"OBJ_ANALOG_SAMPLE","deviceSerial":4294967295,"portNum":1,"seqNum":0})"},
        Good{"sampleSerial", "get sample 2 255 serial=5", kExchange, 1, 5,
             R"({"type":"OBJ_ANALOG_SAMPLE","deviceSerial":5,"portNum":2,"seqNum":255})"},
        Good{"object", "get object=99", kExchange, 1, 5, R"({"type":99})"}),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    set, GoodCommandTest,
    testing::Values(Good{"din", "set din 1 default=high", kExchange, 0, 5,
                         R"({"type":"OBJ_PORT_DIN","deviceSerial":4294967295,"portId":1,)"
                         R"("inputState":"OBJ_IO_STATE_UNKNOWN","defaultState":"OBJ_IO_STATE_SET"})"},
                    Good{"everyDin", "set din * default=low serial=3", kExchange, 0, 5,
                         R"({"portId":4294967295,"deviceSerial":3,"defaultState":"OBJ_IO_STATE_CLEAR"})"},
                    Good{"doutState", "set dout 2 state=low", kExchange, 0, 5,
                         R"({"type":"OBJ_PORT_DOUT","outputState":"OBJ_IO_STATE_CLEAR",)"
                         R"("defaultState":"OBJ_IO_STATE_UNKNOWN"})"},
                    Good{"doutBoth", "set dout 2 default=low state=high", kExchange, 0, 5,
                         R"({"outputState":"OBJ_IO_STATE_SET","defaultState":"OBJ_IO_STATE_CLEAR"})"},
                    Good{"doutNothing", "set dout 2", kExchange, 0, 5,
                         R"({"outputState":"OBJ_IO_STATE_UNKNOWN","defaultState":"OBJ_IO_STATE_UNKNOWN"})"},
                    Good{"ain", "set ain 1 rate=0 gain=-1.5 offset=2e3", kExchange, 0, 5,
                         R"({"type":"OBJ_PORT_AIN","sampleRate":0,"gain":-1.5,"offset":2000.0})"},
                    Good{"ainNothing", "set ain *", kExchange, 0, 5,
                         R"({"portId":4294967295,"sampleRate":4294967295,"gain":null,"offset":null})"},
                    Good{"aout", "set aout 4 value=21.5 timeout=86400", kExchange, 0, 86400,
                         R"({"type":"OBJ_PORT_AOUT","portId":4,"sampledValue":21.5})"},
                    Good{"object", "set object=4294967295", kExchange, 0, 5, R"({"type":4294967295})"}),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    others, GoodCommandTest,
    testing::Values(
        Good{"waitEvent", "wait event", kEvent, 0, 10, nullptr},
        Good{"waitDin", "wait event OBJ_PORT_DIN timeout=1", kEvent, 0, 1, nullptr},
        Good{"waitNumber", "wait event 200", kEvent, 0, 10, nullptr},
        Good{"waitDisconnected", "wait disconnected device=5 timeout=2", Command::Kind::WAIT_DISCONNECTED, 0,
             2, nullptr},
        Good{"drop", "drop device=5", Command::Kind::DROP, 0, 0, nullptr},
        Good{"waitDevice", "wait device timeout=60", Command::Kind::WAIT_DEVICE, 0, 60, nullptr},
        Good{"expectEvent", "expect event", Command::Kind::EXPECT_EVENT, 0, 10, nullptr},
        Good{"expectNoEvent", "expect no event within=0.5", Command::Kind::EXPECT_NO_EVENT, 0, 0.5, nullptr},
        Good{"expectGet", "expect get din 3 inputState=1 serial=7 within=2", Command::Kind::EXPECT_ANSWER, 1,
             2, R"({"type":"OBJ_PORT_DIN","deviceSerial":7,"portId":3})"},
        Good{"expectGetByCode", "expect get object=99", Command::Kind::EXPECT_ANSWER, 1, 10,
             R"({"type":99})"},
        Good{"forget", "forget", Command::Kind::FORGET, 0, 0, nullptr},
        Good{"case", "case a \"b=", Command::Kind::CASE, 0, 0, nullptr},
        Good{"send", "send type=0", kSend, 0, 0, nullptr},
        Good{"sendLast", "send type=0xFF device=3", kSend, 255, 0, nullptr},
        Good{"sleep", "sleep 0.25", kSleep, 0, 0.25, nullptr},
        Good{"sleepNot", "sleep 0", kSleep, 0, 0, nullptr},
        Good{"devices", "devices", Command::Kind::DEVICES, 0, 0, nullptr},
        Good{"help", "help", Command::Kind::HELP, 0, 0, nullptr},
        Good{"quit", "quit", Command::Kind::QUIT, 0, 0, nullptr}),
    rowName);

TEST(CommandParserTest, anObjectByItsCodeHasNoFields)
{
    Command command;
    ASSERT_EQ(parseCommand("get object=2", &command), "");
    EXPECT_EQ(command.message.payload, (std::vector<uint8_t>{0, 0, 0, OBJ_PORT_DIN, 0, 0, 0, 0}));
}

TEST(CommandParserTest, devicesAndTypesAreTaken)
{
    Command command;
    ASSERT_EQ(parseCommand("wait event OBJ_ACCESS device=0xABC", &command), "");
    EXPECT_EQ(command.filter.deviceSerial, 0xABCU);
    EXPECT_EQ(command.filter.objectType, uint32_t(OBJ_ACCESS));
    ASSERT_EQ(parseCommand("wait event", &command), "");
    EXPECT_FALSE(command.filter.deviceSerial);
    EXPECT_FALSE(command.filter.objectType);
}

TEST(CommandParserTest, aPeerIsTaken)
{
    Command command;
    ASSERT_EQ(parseCommand("drop peer=10.1.2.3:40000", &command), "");
    EXPECT_EQ(command.filter.peer, "10.1.2.3:40000");
    EXPECT_FALSE(command.filter.deviceSerial);
    ASSERT_EQ(parseCommand("wait event device=5 peer=[fe80::1]:40000", &command), "");
    EXPECT_EQ(command.filter.peer, "[fe80::1]:40000");
    EXPECT_EQ(command.filter.deviceSerial, 5U);
    ASSERT_EQ(parseCommand("get device", &command), "");
    EXPECT_FALSE(command.filter.peer);
}

TEST(CommandParserTest, everyDeviceIsTakenByGetAndSet)
{
    Command command;
    for (const char* line : {"get device device=*", "get din 3 device=* timeout=1", "set dout * device=*"}) {
        ASSERT_EQ(parseCommand(line, &command), "") << line;
        EXPECT_TRUE(command.everyDevice);
        EXPECT_FALSE(command.filter.deviceSerial);
    }
    ASSERT_EQ(parseCommand("get device device=4294967295", &command), "");
    EXPECT_FALSE(command.everyDevice) << "a device may have this serial";
}

TEST(CommandParserTest, conditionsAreTakenFromAnywhere)
{
    Command command;
    ASSERT_EQ(parseCommand("expect portId=2 event portLabel=\"INPUT 2\" OBJ_PORT_DIN device=3", &command),
              "");
    EXPECT_EQ(command.filter.objectType, uint32_t(OBJ_PORT_DIN));
    EXPECT_EQ(command.filter.deviceSerial, 3U);
    ASSERT_EQ(command.filter.conditions.size(), 2U);
    EXPECT_EQ(command.filter.conditions[0].text(), "portId=2");
    EXPECT_EQ(command.filter.conditions[1].text(), "portLabel=\"INPUT 2\"");
}

TEST(CommandParserTest, thePortTypeOfAnExpectedAnswerIsACondition)
{
    Command command;
    ASSERT_EQ(parseCommand("expect get ain 1 portType=OBJ_PORT", &command), "");
    ASSERT_EQ(command.filter.conditions.size(), 1U);
    EXPECT_EQ(command.filter.conditions[0].text(), "portType=OBJ_PORT");
    const JsonPtr asked(objectOf(command)->getJSONObj());
    EXPECT_STREQ(json_string_value(json_object_get(asked.get(), "portType")), "OBJ_PORT_AIN");
}

TEST(CommandParserTest, everyFieldOfEveryObjectMayBeExpected)
{
    size_t fields = 0;
    for (const zuldict::Enumerator& type : zuldict::objectTypes()) {
        const JsonPtr object(zulobj::createRecord(static_cast<eObjectTypes>(type.value))->getJSONObj());
        for (const zuldict::TagEntry& entry : zuldict::tags()) {
            Command command;
            const std::string mistake =
                parseCommand(std::string("expect event ") + type.name + " " + entry.name + "=1", &command);
            const bool has = json_object_get(object.get(), entry.name) != nullptr;
            EXPECT_EQ(mistake, has ? "" : type.name + (" has no field \"" + std::string(entry.name)) + "\".");
            fields += has ? 1 : 0;
        }
    }
    EXPECT_GT(fields, 50U);
}

TEST(CommandParserTest, aCaseHasTheRestOfItsLineAsItsName)
{
    EXPECT_EQ(caseName("case  The door = \"open\" "), "The door = \"open\"");
    EXPECT_EQ(caseName("case"), "");
    EXPECT_FALSE(caseName("cases of"));
    EXPECT_FALSE(caseName("sleep 1"));
}

TEST(CommandParserTest, unsetNumbersAreNaNBitForBit)
{
    Command command;
    ASSERT_EQ(parseCommand("set ain 1 gain=0.1", &command), "");
    const auto object = objectOf(command);
    const auto& input = dynamic_cast<cObjectAInput&>(*object);
    EXPECT_EQ(input.getGain(), 0.1F);
    EXPECT_TRUE(std::isnan(input.getOffset()));
    EXPECT_EQ(input.getSampleRate(), cObject::kRateUnchanged);
}

TEST(CommandParserTest, tooLongALineIsRefused)
{
    Command command;
    EXPECT_EQ(parseCommand("get device" + std::string(kMaxCommandBytes, ' '), &command),
              "The command is longer than 4096 bytes.");
}

TEST(CommandParserTest, blankLinesAndCommentsAreSkipped)
{
    EXPECT_EQ(trimmed(" \t get device \r"), "get device");
    EXPECT_TRUE(isSkipped(trimmed("  \t\r")));
    EXPECT_TRUE(isSkipped(trimmed("  # get device")));
    EXPECT_FALSE(isSkipped("get device # no comment"));
}

TEST(CommandTest, anObjectBearsTheSerialThatIsGiven)
{
    Command command;
    ASSERT_EQ(parseCommand("set object=0 serial=1001", &command), "");
    EXPECT_EQ(command.message.payload,
              (std::vector<uint8_t>{0, 0, 0, 0, 0, 0, 0, 8, 0, 1, 0, 4, 0, 0, 3, 0xE9}));
    ASSERT_EQ(parseCommand("expect get object=99 serial=0x10", &command), "");
    EXPECT_EQ(command.message.payload,
              (std::vector<uint8_t>{0, 0, 0, 99, 0, 0, 0, 8, 0, 1, 0, 4, 0, 0, 0, 16}));
}

TEST(CommandTest, aValueMayBeNaNOrInfinite)
{
    Command command;
    ASSERT_EQ(parseCommand("set ain 1 gain=nan offset=-inf", &command), "");
    auto object = objectOf(command);
    const auto& input = dynamic_cast<const cObjectAInput&>(*object);
    EXPECT_TRUE(std::isnan(input.getGain()));
    EXPECT_FALSE(std::signbit(input.getGain()));
    EXPECT_EQ(input.getOffset(), -HUGE_VALF);
    ASSERT_EQ(parseCommand("set aout 1 value=inf", &command), "");
    object = objectOf(command);
    EXPECT_EQ(dynamic_cast<const cObjectAOutput&>(*object).getSampledValue(), HUGE_VALF);
}

class BadCommandTest : public testing::TestWithParam<std::pair<const char*, const char*>>
{};

TEST_P(BadCommandTest, isOneClearSentence)
{
    Command command;
    EXPECT_EQ(parseCommand(GetParam().first, &command), GetParam().second);
}

#define NUMBER(name, least, most, text)                                                                      \
    name " is not a whole number from " least " to " most ": \"" text "\"."

#define NOT_A_FLOAT(name, text)                                                                              \
    name " is neither a decimal number that a float can hold nor nan, inf or -inf: \"" text "\"."

INSTANTIATE_TEST_SUITE_P(
    all, BadCommandTest,
    testing::Values(
        std::pair("foo", "There is no command \"foo\"."),
        std::pair("GET device", "There is no command \"GET\"."),
        std::pair("type=3", "The line does not begin with a command."),
        std::pair("get", "The command does not say what to get."),
        std::pair("set", "The command does not say what to set."),
        std::pair("get foo", "There is no \"foo\" to get."),
        std::pair("set device", "There is no \"device\" to set."),
        std::pair("set sample 1 1", "There is no \"sample\" to set."),
        std::pair("get device 1", "The command does not take \"1\"."),
        std::pair("get din 1 2", "The command does not take \"2\"."),
        std::pair("get din 0", "PORT is neither * nor a whole number from 1 to 4294967295: \"0\"."),
        std::pair("get din 4294967296",
                  "PORT is neither * nor a whole number from 1 to 4294967295: \"4294967296\"."),
        std::pair("get din 1x", "PORT is neither * nor a whole number from 1 to 4294967295: \"1x\"."),
        std::pair("get din 1 serial=x", NUMBER("serial", "0", "4294967295", "x")),
        std::pair("get din 1 serial=", NUMBER("serial", "0", "4294967295", "")),
        std::pair("get din 1 portType=4294967296", NUMBER("portType", "0", "4294967295", "4294967296")),
        std::pair("get device portType=2", "The command does not take the field \"portType\"."),
        std::pair("get din 1 serial=1 serial=1", "The field \"serial\" is given twice."),
        std::pair("get din 1 =1", "A field has no name: \"=1\"."),
        std::pair("get din 1 colour=red", "The command does not take the field \"colour\"."),
        std::pair("get din 1 device=all", NUMBER("device", "0", "4294967295", "all")),
        std::pair("get sample", "The command needs PORT."),
        std::pair("get sample 1", "The command needs SEQ."),
        std::pair("get sample * 1", NUMBER("PORT", "1", "4294967295", "*")),
        std::pair("get sample 0 1", NUMBER("PORT", "1", "4294967295", "0")),
        std::pair("get sample 1 x", NUMBER("SEQ", "0", "4294967295", "x")),
        std::pair("get object=x", NUMBER("object", "0", "4294967295", "x")),
        std::pair("get object=1 din", "The command does not take \"din\"."),
        std::pair("set din default=high", "The command needs a PORT, or * for every port."),
        std::pair("set din 1", "The command needs the field \"default\"."),
        std::pair("set din 1 default=up", "default is neither high nor low: \"up\"."),
        std::pair("set din 1 default=high state=high", "The command does not take the field \"state\"."),
        std::pair("set din 1 default=high portType=2", "The command does not take the field \"portType\"."),
        std::pair("set dout 1 state=HIGH", "state is neither high nor low: \"HIGH\"."),
        std::pair("set dout 1 state=", "state is neither high nor low: \"\"."),
        std::pair("set ain 1 rate=-1", NUMBER("rate", "0", "4294967295", "-1")),
        std::pair("set ain 1 rate=1.5", NUMBER("rate", "0", "4294967295", "1.5")),
        std::pair("set ain 1 gain=1,5", NOT_A_FLOAT("gain", "1,5")),
        std::pair("set ain 1 gain=NaN", NOT_A_FLOAT("gain", "NaN")),
        std::pair("set ain 1 gain=-nan", NOT_A_FLOAT("gain", "-nan")),
        std::pair("set ain 1 offset=infinity", NOT_A_FLOAT("offset", "infinity")),
        std::pair("set aout 1", "The command needs the field \"value\"."),
        std::pair("set aout 1 value=1e39", NOT_A_FLOAT("value", "1e39")),
        std::pair("set aout 1 value=", NOT_A_FLOAT("value", "")),
        std::pair("wait", "The command waits for \"event\", \"device\" or \"disconnected\"."),
        std::pair("wait foo", "The command waits for \"event\", \"device\" or \"disconnected\"."),
        std::pair("wait disconnected 1", "The command does not take \"1\"."),
        std::pair("drop", "The command needs the field \"device\"."),
        std::pair("drop device=*", "The command takes one device, not device=*."),
        std::pair("expect get din 1 device=*", "The command takes one device, not device=*."),
        std::pair("wait event device=*", "The command takes one device, not device=*."),
        std::pair("get device device=* peer=127.0.0.1:1",
                  "The command takes either device=* or peer=ADDRESS:PORT."),
        std::pair("get device device=**", NUMBER("device", "0", "4294967295", "**")),
        std::pair("get device peer=127.0.0.1", "peer is not ADDRESS:PORT: \"127.0.0.1\"."),
        std::pair("get device peer=:5", "peer is not ADDRESS:PORT: \":5\"."),
        std::pair("get device peer=::1:5", "peer is not ADDRESS:PORT: \"::1:5\"."),
        std::pair("get device peer=host:65536", "peer is not ADDRESS:PORT: \"host:65536\"."),
        std::pair("sleep 0 peer=127.0.0.1:1", "The command does not take the field \"peer\"."),
        std::pair("devices 1", "The command does not take \"1\"."),
        std::pair("devices device=1", "The command does not take the field \"device\"."),
        std::pair("drop device=x", NUMBER("device", "0", "4294967295", "x")),
        std::pair("drop device=1 timeout=1", "The command does not take the field \"timeout\"."),
        std::pair("wait event OBJ_FOO", "\"OBJ_FOO\" is no type of an object."),
        std::pair("wait event 4294967296", "\"4294967296\" is no type of an object."),
        std::pair("wait event OBJ_PORT_DIN 2", "The command does not take \"2\"."),
        std::pair("wait event serial=1", "The command does not take the field \"serial\"."),
        std::pair("get device timeout=0",
                  "timeout is not a number of seconds above 0 and up to 86400: \"0\"."),
        std::pair("wait event timeout=nan",
                  "timeout is not a number of seconds above 0 and up to 86400: \"nan\"."),
        std::pair("wait event timeout=1e9",
                  "timeout is not a number of seconds above 0 and up to 86400: \"1e9\"."),
        std::pair("expect device", "The command expects \"event\", \"no event\" or \"get\"."),
        std::pair("expect no", "The command expects \"event\", \"no event\" or \"get\"."),
        std::pair("expect event OBJ_FOO", "\"OBJ_FOO\" is no type of an object."),
        std::pair("expect event portId=1", "The field \"portId\" needs the type of its object."),
        std::pair("expect event OBJ_PORT_DIN colour=red", "The command does not take the field \"colour\"."),
        std::pair("expect event OBJ_PORT_DIN scanCode=x", "OBJ_PORT_DIN has no field \"scanCode\"."),
        std::pair("expect event 77 portId=1", "object 77 has no field \"portId\"."),
        std::pair("expect event OBJ_PORT_DIN portId=x", NUMBER("portId", "0", "4294967295", "x")),
        std::pair("expect event OBJ_PORT_DIN portId=null", NUMBER("portId", "0", "4294967295", "null")),
        std::pair("expect event OBJ_PORT_DIN inputState=high",
                  "inputState is neither a whole number nor one of OBJ_IO_STATE_UNKNOWN, OBJ_IO_STATE_SET, "
                  "OBJ_IO_STATE_CLEAR: \"high\"."),
        std::pair("expect event OBJ_ANALOG_SAMPLE sample=warm",
                  "sample is neither a decimal number that a float can hold, nor N~T, nor null: \"warm\"."),
        std::pair("expect event OBJ_ANALOG_SAMPLE sample=1~-1",
                  "sample is neither a decimal number that a float can hold, nor N~T, nor null: \"1~-1\"."),
        std::pair("expect event OBJ_ANALOG_SAMPLE sample=1e39",
                  "sample is neither a decimal number that a float can hold, nor N~T, nor null: \"1e39\"."),
        std::pair("expect event OBJ_ACCESS label=\"a b",
                  "The field \"label\" is no text in quotation marks, as JSON has it: \"a b."),
        std::pair("expect event OBJ_ACCESS label=\"a\"b",
                  "The field \"label\" is no text in quotation marks, as JSON has it: \"a\"b."),
        std::pair("expect event OBJ_ACCESS label=\"a\\",
                  "The field \"label\" is no text in quotation marks, as JSON has it: \"a\\."),
        std::pair("expect event timeout=1", "The command takes within=S, not timeout=S."),
        std::pair("expect event within=0",
                  "within is not a number of seconds above 0 and up to 86400: \"0\"."),
        std::pair("expect get", "The command does not say what to get."),
        std::pair("expect get sample 1", "The command needs SEQ."),
        std::pair("expect get din 1 outputState=1", "OBJ_PORT_DIN has no field \"outputState\"."),
        std::pair("expect event OBJ_ACCESS serial=1", "The command does not take the field \"serial\"."),
        std::pair("wait event OBJ_PORT_DIN portId=1", "The command does not take the field \"portId\"."),
        std::pair("forget 1", "The command does not take \"1\"."),
        std::pair("case", "The command needs a NAME."),
        std::pair("send", "The command needs the field \"type\"."),
        std::pair("send type=256", NUMBER("type", "0", "255", "256")),
        std::pair("send type=1 timeout=1", "The command does not take the field \"timeout\"."),
        std::pair("send 1", "The command needs the field \"type\"."),
        std::pair("sleep", "The command needs a number of seconds."),
        std::pair("sleep -1", "The time is not a number of seconds from 0 to 86400: \"-1\"."),
        std::pair("sleep 1 2", "The command does not take \"2\"."),
        std::pair("help me", "The command does not take \"me\"."),
        std::pair("quit timeout=1", "The command does not take the field \"timeout\".")));

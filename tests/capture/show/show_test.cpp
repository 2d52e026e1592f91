// The lines of "show", from recordings of our programs and of others.

#include <jansson.h>

#include "capture/sessions/recording.h"
#include "messages.h"
#include "pcapfile.h"
#include "programrun.h"
#include "zulcommand/jsontext.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Lines = std::vector<std::string>;
using zulcommand::JsonPtr;

constexpr uint16_t kServerPort = 50000;

/// Returns the member @p name of each line as JSON, or an empty text if a line lacks it.
Lines members(const ProgramRun& run, const char* name)
{
    Lines values;
    for (const std::string& line : run.lines()) {
        const JsonPtr json(json_loads(line.c_str(), 0, nullptr));
        const json_t* value = json_object_get(json.get(), name);
        values.push_back(value == nullptr ? "" : zulcommand::dumped(value));
    }
    return values;
}

/// A device asks and is asked: request, answer, set without answer, event, ping and its answer.
MadeCapture conversation(uint16_t port = kServerPort, const std::string& program = "Somebody 1",
                         bool isV6 = false)
{
    MadeCapture made(program, {"lan"});
    if (isV6) {
        made.useV6();
    }
    auto line = made.open(port);
    made.fromServer(&line, deviceRequest(1));
    made.wait(250);
    made.fromClient(&line, deviceAnswer(1, 7));
    made.fromServer(&line, framesOf(messageOf(0, 2)));
    made.wait(750);
    made.fromClient(&line, inputEvent(1, 7, 2, 1));
    made.fromServer(&line, pingMessage(false));
    made.wait(1000);
    made.fromClient(&line, pingMessage(true));
    return made;
}

class ShowTest : public CaptureTest
{
protected:
    ProgramRun show(const MadeCapture& made, Lines words = {})
    {
        words.insert(words.begin(), {"show", file(made)});
        return runCapture(words);
    }
};

TEST_F(ShowTest, AMessageIsOneLine)
{
    MadeCapture made("zulserver 1", {"zulserver"});
    auto line = made.open(12345);
    made.wait(1500);
    made.fromClient(&line, inputEvent(9, 7, 2, 1));
    const ProgramRun run = show(made);
    EXPECT_EQ(
        run.out,
        R"({"event":"message","time":1700000001.500000,"dir":"to-server","deviceSerial":7,)"
        R"("msgType":3,"msgSeq":9,"answer":false,"objects":[{"type":"OBJ_PORT_DIN","deviceSerial":7,)"
        R"("portId":2,"portLabel":null,"portStatus":"OBJ_STATUS_ALARM_UNKNOWN","portType":"OBJ_PORT_DIN",)"
        R"("inputState":"OBJ_IO_STATE_SET","defaultState":"OBJ_IO_STATE_UNKNOWN"}]})"
        "\n");
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.status, 0);
}

TEST_F(ShowTest, EveryMessageBearsTheDeviceOfItsConnection)
{
    EXPECT_EQ(members(show(conversation()), "deviceSerial"), Lines(6, "7"))
        << "also those before the device has told it";
}

TEST_F(ShowTest, AnAnswerTellsTheTimeSinceItsRequest)
{
    EXPECT_EQ(members(show(conversation()), "seconds"), (Lines{"", "0.25", "", "", "", "1.0"}));
}

TEST_F(ShowTest, PingsAreToldByTheirMember)
{
    EXPECT_EQ(members(show(conversation()), "ping"), (Lines{"", "", "", "", "true", "true"}));
}

TEST_F(ShowTest, AnUnreadableMessageSaysWhy)
{
    WMsg message = messageOf(3, 1);
    message.payload = hexBytes("00 00 00 02 00");
    MadeCapture made("zulserver 1", {"zulserver"});
    auto line = made.open(kServerPort);
    made.fromClient(&line, framesOf(message));
    const ProgramRun run = show(made);
    EXPECT_EQ(members(run, "error"), (Lines{"\"object: ends within its header\""}));
    EXPECT_EQ(members(run, "deviceSerial"), (Lines{"null"}));
}

struct FilterRow
{
    const char* name;
    Lines words;
    Lines sequence; ///< numbers and directions of the messages that are left
};

class FilterTest : public ShowTest, public testing::WithParamInterface<FilterRow>
{};

TEST_P(FilterTest, OnlyMessagesForWhichAllHoldAreLeft)
{
    const ProgramRun run = show(conversation(), GetParam().words);
    Lines found = members(run, "msgSeq");
    const Lines directions = members(run, "dir");
    for (size_t i = 0; i < found.size(); ++i) {
        found[i] += directions[i] == "\"to-server\"" ? " up" : " down";
    }
    EXPECT_EQ(found, GetParam().sequence);
    EXPECT_EQ(run.err, "");
}

INSTANTIATE_TEST_SUITE_P(
    all, FilterTest,
    testing::Values(FilterRow{"direction", {"dir=to-device"}, {"1 down", "2 down", "0 down"}},
                    FilterRow{"device", {"device=7"}, {"1 down", "1 up", "2 down", "1 up", "0 down", "0 up"}},
                    FilterRow{"otherDevices", {"device=8-9"}, {}}, FilterRow{"get", {"msg=get"}, {"1 down"}},
                    FilterRow{"set", {"msg=set"}, {"2 down"}}, FilterRow{"event", {"msg=event"}, {"1 up"}},
                    FilterRow{"answer", {"msg=answer"}, {"1 up"}},
                    FilterRow{"ping", {"msg=ping"}, {"0 down", "0 up"}},
                    FilterRow{"type", {"type=1"}, {"1 down", "1 up"}},
                    FilterRow{"object", {"object=OBJ_PORT_DIN"}, {"1 up"}},
                    FilterRow{"port", {"port=2"}, {"1 up"}}, FilterRow{"otherPort", {"port=3"}, {}},
                    FilterRow{"field", {"inputState=OBJ_IO_STATE_SET"}, {"1 up"}},
                    FilterRow{"otherValue", {"inputState=OBJ_IO_STATE_CLEAR"}, {}},
                    FilterRow{"several", {"type=1", "dir=to-server", "deviceSerial=7"}, {"1 up"}}),
    [](const testing::TestParamInfo<FilterRow>& row) { return row.param.name; });

TEST_F(ShowTest, AFilterValueMayHaveBlanks)
{
    WMsg message = messageOf(3, 5);
    PayloadWriter writer(&message.payload);
    writer.beginObject(OBJ_ADHOC_EVENT);
    writer.putText(TAG_EVENT_LABEL, "Smoke 1");
    writer.endObject();
    MadeCapture made("zulserver 1", {"zulserver"});
    auto line = made.open(kServerPort);
    made.fromClient(&line, framesOf(message));
    EXPECT_EQ(show(made, {"eventLabel=Smoke 1"}).lines().size(), 1U);
    EXPECT_EQ(show(made, {"eventLabel=\"Smoke 1\""}).lines().size(), 1U);
    EXPECT_EQ(show(made, {"eventLabel=Smoke 2"}).lines().size(), 0U);
    EXPECT_EQ(show(made, {"eventLabel="}).lines().size(), 0U);
}

TEST_F(ShowTest, FieldsHaveToBeThoseOfOneRecord)
{
    WMsg message = messageOf(3, 5);
    PayloadWriter writer(&message.payload);
    for (const uint32_t port : {1U, 2U}) {
        writer.beginObject(OBJ_PORT_DIN);
        writer.putNumber(TAG_PORT_ID, port);
        writer.putNumber(TAG_INPUT_STATE, port);
        writer.endObject();
    }
    MadeCapture made("zulserver 1", {"zulserver"});
    auto line = made.open(kServerPort);
    made.fromClient(&line, framesOf(message));
    EXPECT_EQ(show(made, {"port=2", "inputState=2"}).lines().size(), 1U);
    EXPECT_EQ(show(made, {"port=1", "inputState=2"}).lines().size(), 0U);
}

TEST_F(ShowTest, AWrongFilterIsAMistake)
{
    const std::pair<const char*, const char*> rows[] = {
        {"colour=red", "The filter does not take the field \"colour\"."},
        {"red", "The filter does not take \"red\"."},
        {"dir=up", "dir is none of to-server, to-device: \"up\"."},
        {"device=5%", "device is neither SERIAL nor A-B with A no larger than B: \"5%\"."},
        {"msg=hello", "msg is none of get, set, event, answer, ping: \"hello\"."},
        {"inputState=2.5", "inputState is neither a whole number nor one of OBJ_IO_STATE_UNKNOWN, "
                           "OBJ_IO_STATE_SET, OBJ_IO_STATE_CLEAR: \"2.5\"."},
    };
    for (const auto& [word, sentence] : rows) {
        const ProgramRun run = show(conversation(), {word});
        EXPECT_EQ(run.err, std::string("zulcapture: ") + sentence + "\n");
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.out, "");
    }
    EXPECT_EQ(show(conversation(), {"object=OBJ_DEVICE", "portId=1"}).err,
              "zulcapture: OBJ_DEVICE has no field \"portId\".\n");
    EXPECT_EQ(show(conversation(), {"msg=ping", "port=1"}).err,
              "zulcapture: msg=ping has no records: port matches none.\n");
}

TEST_F(ShowTest, TheSummaryIsATable)
{
    EXPECT_EQ(
        show(conversation(), {"--summary"}).out,
        "device      kind      to server   to device       per s   longest answer  unanswered   bad bytes\n"
        "7           get               0           1        0.50       250.000 ms           0           -\n"
        "7           set               0           1        0.50                -           1           -\n"
        "7           event             1           0        0.50                -           -           -\n"
        "7           answer            1           0        0.50                -           -           -\n"
        "7           ping              1           1        1.00      1000.000 ms           0           -\n"
        "7           all               3           3        3.00      1000.000 ms           1           0\n"
        "all         all               3           3        3.00      1000.000 ms           1           0\n");
}

TEST_F(ShowTest, AnswersOutsideOfTheFilterAreAnswersStill)
{
    const ProgramRun run = show(conversation(), {"--summary", "msg=get"});
    EXPECT_NE(
        run.out.find("7           get               0           1        0.00       250.000 ms           0"),
        std::string::npos)
        << run.out;
}

TEST_F(ShowTest, OfOthersOnlyThePortOfTheServerIsRead)
{
    EXPECT_EQ(show(conversation(7001)).out, "");
    EXPECT_EQ(show(conversation(7001)).err,
              "zulcapture: \"" + file(conversation(7001)) +
                  "\" holds no connection to port 50000; --port names another.\n");
    EXPECT_EQ(show(conversation(7001), {"--port", "7001"}).lines().size(), 6U);
    EXPECT_EQ(show(conversation(7001, "zulfleet 1")).lines().size(), 6U) << "of our own all are";
}

TEST_F(ShowTest, BothSidesOfAProxyAreShown)
{
    MadeCapture made("zulproxy 1", {"devices", "server"});
    auto device = made.open(7000, 0, {"connection 1"});
    auto server = made.open(kServerPort, 1, {"connection 1"});
    made.fromClient(&device, inputEvent(1, 7, 2, 1));
    made.fromClient(&server, inputEvent(1, 7, 2, 1));
    EXPECT_EQ(show(made).lines().size(), 2U);
}

TEST_F(ShowTest, TheTimeOfAMessageIsThatOfItsLastPacket)
{
    const Bytes message = inputEvent(1, 7, 2, 1);
    MadeCapture made("Somebody 1", {"lan"});
    auto line = made.open(kServerPort);
    made.fromClient(&line, {message.begin(), message.begin() + 20});
    made.wait(3000);
    made.fromClient(&line, {message.begin() + 20, message.end()});
    EXPECT_NE(show(made).out.find("\"time\":1700000003.000000"), std::string::npos);
}

TEST_F(ShowTest, MessagesInOnePacketAreEachALine)
{
    Bytes both = inputEvent(1, 7, 2, 1);
    const Bytes second = inputEvent(2, 7, 2, 2);
    both.insert(both.end(), second.begin(), second.end());
    MadeCapture made("Somebody 1", {"lan"});
    auto line = made.open(kServerPort);
    made.fromClient(&line, both);
    EXPECT_EQ(members(show(made), "msgSeq"), (Lines{"1", "2"}));
}

TEST_F(ShowTest, RetransmissionsAreLeftOut)
{
    MadeCapture made("Somebody 1", {"lan"});
    auto line = made.open(kServerPort);
    auto again = line;
    made.fromClient(&line, inputEvent(1, 7, 2, 1));
    made.fromClient(&again, inputEvent(1, 7, 2, 1));
    made.fromClient(&line, inputEvent(2, 7, 2, 2));
    const ProgramRun run = show(made);
    EXPECT_EQ(members(run, "msgSeq"), (Lines{"1", "2"}));
    EXPECT_EQ(run.err, "");
}

TEST_F(ShowTest, PacketsOutOfOrderAreSorted)
{
    MadeCapture made("Somebody 1", {"lan"});
    auto line = made.open(kServerPort);
    auto late = line;
    const Bytes first = inputEvent(1, 7, 2, 1);
    MadeCapture::skipFromClient(&line, static_cast<uint32_t>(first.size()));
    made.fromClient(&line, inputEvent(2, 7, 2, 2));
    made.fromClient(&late, first);
    const ProgramRun run = show(made);
    EXPECT_EQ(members(run, "msgSeq"), (Lines{"1", "2"}));
    EXPECT_EQ(run.err, "");
}

TEST_F(ShowTest, AGapIsToldAndWhatFollowsIsRead)
{
    const Bytes message = inputEvent(2, 7, 2, 2);
    MadeCapture made("Somebody 1", {"lan"});
    auto line = made.open(kServerPort);
    made.fromClient(&line, inputEvent(1, 7, 2, 1));
    MadeCapture::skipFromClient(&line, 10);
    made.fromClient(&line, {message.begin() + 10, message.end()});
    made.fromClient(&line, inputEvent(3, 7, 2, 1));
    made.fromServer(&line, deviceRequest(1)); // acknowledges it
    const ProgramRun run = show(made);
    EXPECT_EQ(members(run, "msgSeq"), (Lines{"1", "3", "1"}));
    const std::string name = "zulcapture: \"" + file(made) + '"';
    EXPECT_EQ(run.err, name + " lacks 10 bytes that were sent.\n" + name + " has " +
                           std::to_string(message.size() - 10) + " bytes of no message.\n");
    EXPECT_EQ(run.status, 0);
}

TEST_F(ShowTest, DamagedBytesAreTold)
{
    Bytes damaged = inputEvent(1, 7, 2, 1);
    damaged.back() ^= 1;
    MadeCapture made("zulserver 1", {"zulserver"});
    auto line = made.open(kServerPort);
    made.fromClient(&line, damaged);
    made.fromClient(&line, inputEvent(2, 7, 2, 1));
    const ProgramRun run = show(made);
    EXPECT_EQ(members(run, "msgSeq"), (Lines{"2"}));
    EXPECT_EQ(run.err, "zulcapture: \"" + file(made) + "\" has " + std::to_string(damaged.size()) +
                           " bytes of no message.\n");
    EXPECT_TRUE(show(made, {"--summary"}).out.ends_with(" " + std::to_string(damaged.size()) + "\n"));
}

TEST_F(ShowTest, AFileThatIsCutIsUsedUpToThere)
{
    const MadeCapture made = conversation();
    const size_t whole = show(made).lines().size();
    Bytes bytes = made.file();
    const size_t packet = 100; // a block with a ping
    for (size_t cut = 1; cut < packet; ++cut) {
        bytes.pop_back();
        const std::string path = file(bytes, "cut");
        const ProgramRun run = runCapture({"show", path});
        EXPECT_EQ(run.lines().size(), whole - 1) << cut;
        EXPECT_EQ(run.err, "zulcapture: \"" + path + "\" ends within a packet.\n") << cut;
        EXPECT_EQ(run.status, 0) << cut;
    }
}

TEST_F(ShowTest, AFileThatIsCutInItsHeaderSaysOnlyThat)
{
    const Bytes bytes = conversation().file();
    const std::string path = file(Bytes(bytes.begin(), bytes.begin() + 20), "cut");
    const ProgramRun run = runCapture({"show", path});
    EXPECT_EQ(run.err, "zulcapture: \"" + path + "\" ends within a packet.\n");
    EXPECT_EQ(run.status, 0);
}

TEST_F(ShowTest, ARecordingWithoutAConnectionSaysSo)
{
    const MadeCapture made("zulserver 1", {"zulserver"});
    EXPECT_EQ(show(made).err, "zulcapture: \"" + file(made) + "\" holds no connection.\n");
}

TEST_F(ShowTest, AFileThatEndsWithinAMessageSaysNothingOfDamage)
{
    const Bytes message = inputEvent(2, 7, 2, 2);
    MadeCapture made("Somebody 1", {"lan"});
    auto line = made.open(kServerPort);
    made.fromClient(&line, inputEvent(1, 7, 2, 1));
    made.fromClient(&line, {message.begin(), message.begin() + 20});
    const ProgramRun run = show(made);
    EXPECT_EQ(run.lines().size(), 1U);
    EXPECT_EQ(run.err, "");
}

TEST_F(ShowTest, AFileThatIsBrokenEndsWithStatusOne)
{
    Bytes bytes = conversation().file();
    bytes.insert(bytes.end(), {6, 0, 0, 0, 1, 0, 0, 0});
    const std::string path = file(bytes);
    const ProgramRun run = runCapture({"show", path});
    EXPECT_EQ(run.lines().size(), 6U) << "what comes before is shown";
    EXPECT_EQ(run.err, "zulcapture: Cannot read \"" + path + "\": pcapng block: its length is wrong.\n");
    EXPECT_EQ(run.status, 1);
}

struct LinkRow
{
    const char* name;
    uint32_t type;
    const char* header;
    bool isV6 = false;
};

class LinkTypeTest : public ShowTest, public testing::WithParamInterface<LinkRow>
{};

TEST_P(LinkTypeTest, IsRead)
{
    const MadeCapture made = conversation(kServerPort, "Somebody 1", GetParam().isV6);
    const Bytes pcap = pcapOf(made, GetParam().type, hexBytes(GetParam().header));
    const ProgramRun run = runCapture({"show", file(pcap)});
    EXPECT_EQ(run.lines(), show(conversation()).lines());
    EXPECT_EQ(run.err, "");
}

INSTANTIATE_TEST_SUITE_P(
    all, LinkTypeTest,
    testing::Values(LinkRow{"ethernet", 1, "00*12 08 00"}, LinkRow{"vlan", 1, "00*12 81 00 00 05 08 00"},
                    LinkRow{"linuxCooked", 113, "00*14 08 00"}, LinkRow{"linuxCooked2", 276, "08 00 00*18"},
                    LinkRow{"rawIp", 101, ""}, LinkRow{"ethernetV6", 1, "00*12 86 dd", true},
                    LinkRow{"linuxCookedV6", 113, "00*14 86 dd", true},
                    LinkRow{"linuxCooked2V6", 276, "86 dd 00*18", true}, LinkRow{"rawIpV6", 101, "", true}),
    [](const testing::TestParamInfo<LinkRow>& row) { return row.param.name; });

TEST_F(ShowTest, WhatWaitsForTheNameOfItsDeviceIsBounded)
{
    MadeCapture made("zulserver 1", {"zulserver"});
    auto silent = made.open(kServerPort);
    auto line = made.open(kServerPort);
    made.fromServer(&silent, deviceRequest(1));
    for (size_t i = 0; i < capture::Recording::kMaxItems; ++i) {
        made.fromClient(&line, pingMessage(false));
    }
    made.fromClient(&silent, deviceAnswer(1, 7));
    made.fromClient(&line, inputEvent(1, 8, 1, 1));
    const Lines serials = members(show(made), "deviceSerial");
    ASSERT_EQ(serials.size(), capture::Recording::kMaxItems + 3);
    EXPECT_EQ(serials.front(), "null") << "it was given away before";
    EXPECT_EQ(serials[serials.size() - 2], "7");
    EXPECT_EQ(serials.back(), "8");
}

} // namespace

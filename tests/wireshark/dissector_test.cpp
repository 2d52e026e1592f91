// What Wireshark's command line program makes of the link, with the dissector that the build has made.

#include <algorithm>
#include <fstream>
#include <map>

#include "dissected.h"
#include "documentmessages.h"
#include "hexbytes.h"
#include "samplerecords.h"
#include "zulobj/objectlist.h"

namespace {

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

/// The document's messages, each in a packet of its own, over connections that begin anew for each.
TcpCapture documentCapture(const Words& names)
{
    auto messages = documentMessages();
    TcpCapture capture;
    for (const std::string& name : names) {
        auto link = capture.link();
        const bool isServers = name.rfind("request", 0) == 0 || name.rfind("set", 0) == 0 || name == "ping";
        isServers ? link.toDevice(messages[name]) : link.toServer(messages[name]);
    }
    return capture;
}

using FieldsTest = DissectedTest;

TEST_F(FieldsTest, EveryPartOfTheHeaderIsThere)
{
    EXPECT_EQ(
        rows(documentCapture({"request-device", "event-sample", "ping-answer"}), "zul",
             {"zul.header.magic", "zul.header.version", "zul.header.flags", "zul.header.flags.answer",
              "zul.header.flags.event", "zul.header.flags.control", "zul.header.flags.last",
              "zul.header.type", "zul.header.seq", "zul.header.segment", "zul.header.length",
              "zul.header.checksum", "zul.header.checksum.status", "zul.header.checksum.calculated"}),
        (Rows{
            {"0x5a57", "1", "0x08", "0", "0", "0", "1", "1", "7", "0", "64", "0xa425fe63", "1", "0xa425fe63"},
            {"0x5a57", "1", "0x0a", "0", "1", "0", "1", "3", "2", "0", "40", "0x5feb6011", "1", "0x5feb6011"},
            {"0x5a57", "1", "0x0d", "1", "0", "1", "1", "0", "0", "0", "0", "0xa5a8fef2", "1",
             "0xa5a8fef2"}}));
}

TEST_F(FieldsTest, MessagesOfTheDocumentBearTheirTags)
{
    EXPECT_EQ(rows(documentCapture({"answer-device"}), "zul",
                   {"zul.object", "zul.object.length", "zul.deviceSerial", "zul.deviceLabel",
                    "zul.deviceType", "zul.version", "zul.discreteInCount", "zul.discreteOutCount",
                    "zul.analogInCount", "zul.analogOutCount"}),
              (Rows{{"0", "63", "1001", "Lab", "1", "2", "3", "2", "1", "0"}}));
    EXPECT_EQ(rows(documentCapture({"event-digital-input"}), "zul",
                   {"zul.object", "zul.deviceSerial", "zul.portId", "zul.portLabel", "zul.portStatus",
                    "zul.portType", "zul.inputState", "zul.defaultState"}),
              (Rows{{"2", "1001", "3", "Door", "0", "2", "1", "2"}}));
    EXPECT_EQ(rows(documentCapture({"set-analog-input"}), "zul",
                   {"zul.object", "zul.portId", "zul.gain", "zul.offset", "zul.sampleRate",
                    "zul.sampledValue", "zul.lastSampleSeq", "zul.displayUnit"}),
              (Rows{{"4", "1", "nan", "0.5", "4294967295", "0", "0", ""}}));
    EXPECT_EQ(rows(documentCapture({"event-sample"}), "zul",
                   {"zul.object", "zul.portNum", "zul.sample", "zul.seqNum"}),
              (Rows{{"9", "1", "57.9", "255"}}));
    EXPECT_EQ(rows(documentCapture({"unknown-object-and-tag"}), "zul",
                   {"zul.object", "zul.tag", "zul.tag.value", "zul.scanCode", "zul.message.objects"}),
              (Rows{{"99|10", "200|1|24|200|25|26", "2a|6869", "Größe", "2"}}));
}

TEST_F(FieldsTest, TextThatIsEmptyIsAFieldAndOneNeverSetIsNone)
{
    EXPECT_EQ(rows(documentCapture({"unknown-object-and-tag"}), "zul.label == \"\"", {"frame.number"}).size(),
              1U);
    EXPECT_EQ(rows(documentCapture({"event-sample"}), "zul.label", {"frame.number"}).size(), 0U);
}

TEST_F(FieldsTest, MessagesOfTheDocumentGiveNoCauseForComplaint)
{
    Words names;
    for (const auto& message : documentMessages()) {
        names.push_back(message.first);
    }
    ASSERT_GE(names.size(), 19U);
    const Rows found = rows(documentCapture(names), "zul", {"_ws.expert.message", "zul.message"});
    ASSERT_EQ(found.size(), names.size());
    const std::map<std::string, std::string> notes{
        {"unknown-object-and-tag", "Unknown object type 99|Unknown tag 200|Unknown tag 200"},
        {"ping-answer", "No request for this answer was seen"}};
    for (size_t i = 0; i < names.size(); ++i) {
        const bool isAnswer = names[i].rfind("answer-", 0) == 0;
        const auto note = notes.find(isAnswer ? "ping-answer" : names[i]);
        EXPECT_EQ(found[i][0], note == notes.end() ? "" : note->second) << names[i];
    }
}

TEST_F(FieldsTest, InfoColumnSaysWhatTheMessageIs)
{
    const Rows found =
        rows(documentCapture({"ping", "ping-answer", "request-device", "answer-device", "event-digital-input",
                              "set-analog-input", "answer-set", "event-sample", "unknown-object-and-tag"}),
             "zul", {"_ws.col.Protocol", "_ws.col.Info"});
    const Words expected{"ping",
                         "answer to ping",
                         "request 7: OBJ_DEVICE",
                         "answer to 7: OBJ_DEVICE",
                         "event 1: OBJ_PORT_DIN portId=3",
                         "set 8: OBJ_PORT_AIN portId=1",
                         "answer to 8: no objects",
                         "event 2: OBJ_ANALOG_SAMPLE portNum=1 seqNum=255",
                         "event 3: object of type 99, OBJ_ACCESS portNum=1"};
    ASSERT_EQ(found.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(found[i], (Words{"ZUL", expected[i]}));
    }
}

TEST_F(FieldsTest, SpecialValuesAreSaidInWords)
{
    const std::string request = details(documentCapture({"request-device"}));
    EXPECT_TRUE(contains(request, "deviceSerial: 4294967295 (every device)")) << request;
    EXPECT_TRUE(contains(request, "deviceType: TYPE_UNKNOWN (0)")) << request;
    const std::string set = details(documentCapture({"set-analog-input"}));
    EXPECT_TRUE(contains(set, "gain: nan (unchanged)")) << set;
    EXPECT_TRUE(contains(set, "offset: 0.5\n")) << set;
    EXPECT_TRUE(contains(set, "sampleRate: 4294967295 (unchanged)")) << set;
    const std::string event = details(documentCapture({"event-digital-input"}));
    EXPECT_TRUE(contains(event, "inputState: OBJ_IO_STATE_SET (1)")) << event;
    EXPECT_TRUE(contains(event, "Object: OBJ_PORT_DIN portId=3")) << event;
}

TEST_F(FieldsTest, EveryRecordShowsAllOfItsFields)
{
    TcpCapture capture;
    auto link = capture.link();
    Rows expected;
    Words names;
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        names.push_back("zul." + std::string(entry.name));
    }
    for (const auto& record : sampleRecords()) {
        cObjectList list;
        list.setMsgType(cObjectList::kEvent);
        list.addBorrowed(record.get());
        WMsg message;
        ASSERT_TRUE(list.encode(&message).isOk());
        link.toServer(framesOf(message));
        Words row(names.size());
        const cTagList tags = record->getTags();
        for (size_t i = 0; i < tags.size(); ++i) {
            const WTag& tag = tags.at(i);
            std::string& cell = row[tag.number() - 1U];
            switch (zuldict::entry(static_cast<eTag>(tag.number())).wireType) {
            case zuldict::eWireType::NUMBER: {
                uint32_t number = 0;
                ASSERT_TRUE(wmsg::getNumber(tag.value(), &number));
                cell = std::to_string(number);
                break;
            }
            case zuldict::eWireType::FLOAT: {
                float number = 0;
                ASSERT_TRUE(wmsg::getNumber(tag.value(), &number));
                std::ostringstream text;
                text << number;
                cell = text.str();
                break;
            }
            case zuldict::eWireType::TEXT:
                cell = wmsg::getText(tag.value());
            }
        }
        expected.push_back(row);
    }
    EXPECT_EQ(rows(capture, "zul", names), expected);
    EXPECT_TRUE(rows(capture, "zul && _ws.expert", {"_ws.expert.message"}).empty());
}

TEST_F(FieldsTest, EveryTagOfTheDictionaryIsAFieldWithItsNames)
{
    const Tshark::Result fields = mTshark.glossary("fields");
    const Tshark::Result values = mTshark.glossary("values");
    EXPECT_EQ(fields.complaints + values.complaints, "");
    const char* const types[] = {"FT_UINT32", "FT_FLOAT", "FT_STRING"};
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        std::ostringstream field;
        field << "F\t" << entry.name << "\tzul." << entry.name << '\t'
              << types[static_cast<int>(entry.wireType)] << "\tzul\t";
        EXPECT_TRUE(contains(fields.output, field.str())) << entry.name;
        for (const auto& one : entry.names) {
            std::ostringstream value;
            value << "V\tzul." << entry.name << '\t' << one.value << '\t' << one.name << '\n';
            EXPECT_TRUE(contains(values.output, value.str())) << value.str();
        }
    }
    for (const zuldict::Enumerator& type : zuldict::objectTypes()) {
        EXPECT_TRUE(
            contains(values.output, "V\tzul.object\t" + std::to_string(type.value) + "\t" + type.name + "\n"))
            << type.name;
    }
}

TEST_F(FieldsTest, EveryRecordAndConstantStandsInTheTables)
{
    std::ifstream file(DISSECTOR);
    std::ostringstream text;
    text << file.rdbuf();
    const std::string tables = text.str();
    for (const auto& record : sampleRecords()) {
        const size_t row = tables.find("\n        [" + std::to_string(record->getType()) + "] = {",
                                       tables.find("records = {"));
        ASSERT_NE(row, std::string::npos);
        const std::string line = tables.substr(row + 1, tables.find('\n', row + 1) - row - 1);
        const std::unique_ptr<cObject> key(record->cloneKey());
        const cTagList tags = record->getTags();
        for (size_t i = 0; i < tags.size(); ++i) {
            EXPECT_TRUE(contains(line, " [" + std::to_string(tags.at(i).number()) + "] = ")) << line;
        }
        EXPECT_EQ(std::count(line.begin(), line.end(), ','), static_cast<long>(tags.size()) + 1) << line;
    }
    for (const std::string constant :
         {"magic = 23127", "version = 1", "flagAnswer = 1", "flagEvent = 2", "flagControl = 4",
          "flagLastSegment = 8", "maxSegmentPayload = 2032", "maxMessageBytes = 1048576",
          "maxSegments = 1024", "maxAgeMs = 30000"}) {
        EXPECT_TRUE(contains(tables, "    " + constant + ",\n")) << constant;
    }
    for (const char* keys :
         {"[0] = { [1] = \"key\", [17] = \"field\"", "[2] = { [1] = \"key\", [2] = \"key\", [3] = \"field\"",
          "[9] = { [1] = \"key\", [24] = \"key\", [29] = \"field\", [30] = \"key\"",
          "[12] = { [1] = \"key\", [31] = \"key\", [25] = \"field\""}) {
        EXPECT_TRUE(contains(tables, keys)) << keys;
    }
}

using ReassemblyTest = DissectedTest;

/// What the messages of a capture are, whichever packets they came in.
Words messagesIn(const Rows& rows)
{
    Words all;
    for (const Words& row : rows) {
        const Words names = Tshark::split(row[0], '|');
        const Words sizes = Tshark::split(row[1], '|');
        EXPECT_EQ(names.size(), sizes.size());
        for (size_t i = 0; i < std::min(names.size(), sizes.size()); ++i) {
            all.push_back(names[i] + " " + sizes[i]);
        }
    }
    return all;
}

const Words kMessageNames{"zul.message", "zul.message.length"};

TEST_F(ReassemblyTest, SegmentsInPacketsOfTheirOwnMakeOneMessage)
{
    TcpCapture capture;
    auto link = capture.link();
    for (const Bytes& segment : segmentsOf(longMessage(9, 5000))) {
        link.toServer(segment);
    }
    EXPECT_EQ(rows(capture, "zul",
                   {"frame.number", "zul.message", "zul.message.length", "zul.message.segments",
                    "zul.message.frame", "zul.message.reassembled_in", "zul.object"},
                   {"-2"}),
              (Rows{{"3", "", "", "", "", "5", ""},
                    {"4", "", "", "", "", "5", ""},
                    {"5", "event 9", "5020", "3", "3|4|5", "", "13"}}));
    const Rows value = rows(capture, "zul.eventValue", {"zul.eventValue"});
    ASSERT_EQ(value.size(), 1U);
    EXPECT_EQ(value[0][0], std::string(5000, 'x'));
    EXPECT_TRUE(rows(capture, "zul && _ws.expert", {"frame.number"}, {"-2"}).empty());
}

TEST_F(ReassemblyTest, LongestMessageIsPutTogether)
{
    TcpCapture capture;
    auto link = capture.link();
    WMsg message = messageOf(3, 1);
    PayloadWriter writer(&message.payload);
    const std::string text(65535, 'y');
    while (message.payload.size() + 65547 <= wmsg::kMaxMessageBytes) {
        writer.beginObject(13);
        writer.putText(28, text);
        writer.endObject();
    }
    writer.beginObject(13);
    writer.putText(28, text.substr(0, wmsg::kMaxMessageBytes - message.payload.size() - 4));
    writer.endObject();
    ASSERT_EQ(message.payload.size(), wmsg::kMaxMessageBytes);
    link.toServerInPieces(framesOf(message), 40000);
    EXPECT_EQ(rows(capture, "zul.message", {"zul.message", "zul.message.length", "zul.message.segments"}),
              (Rows{{"event 1", "1048576", "517"}}));
    EXPECT_TRUE(rows(capture, "zul && _ws.expert", {"frame.number"}).empty());
}

TEST_F(ReassemblyTest, PingsMayStandBetweenSegments)
{
    TcpCapture capture;
    auto link = capture.link();
    for (const Bytes& segment : segmentsOf(longMessage(9, 5000))) {
        link.toServer(segment);
        link.toServer(framesOf(WMsg::ping(false)));
        link.toDevice(framesOf(WMsg::ping(true)));
    }
    const Words found = messagesIn(rows(capture, "zul.message", kMessageNames));
    EXPECT_EQ(found, (Words{"ping 0", "answer to ping 0", "ping 0", "answer to ping 0", "event 9 5020",
                            "ping 0", "answer to ping 0"}));
    EXPECT_TRUE(rows(capture, "zul && _ws.expert", {"frame.number"}).empty());
}

TEST_F(ReassemblyTest, EverySizeOfTcpPiecesReadsTheSame)
{
    Bytes bytes;
    for (const Bytes& part :
         {documentMessages()["answer-device"], framesOf(longMessage(1, 2500)), framesOf(WMsg::ping(false)),
          framesOf(longMessage(2, 0)), documentMessages()["event-sample"]}) {
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    const Words expected{"answer to 7 71", "event 1 2520", "ping 0", "event 2 20", "event 2 40"};
    for (const size_t size : {1U, 2U, 3U, 7U, 15U, 16U, 17U, 31U, 100U, 1000U, 2047U, 2048U, 2049U, 60000U}) {
        SCOPED_TRACE(size);
        TcpCapture capture;
        auto link = capture.link();
        link.toServerInPieces(bytes, size);
        EXPECT_EQ(messagesIn(rows(capture, "zul.message", kMessageNames)), expected);
        EXPECT_EQ(messagesIn(rows(capture, "zul.message", kMessageNames, {"-2"})), expected);
        EXPECT_TRUE(
            rows(capture, "_ws.expert.severity >= 0x600000 && zul", {"_ws.expert.message"}, {"-2"}).empty());
    }
}

TEST_F(ReassemblyTest, SeveralMessagesInOnePacketAreToldOneAfterTheOther)
{
    TcpCapture capture;
    auto link = capture.link();
    Bytes bytes = framesOf(messageOf(1, 4));
    for (const WMsg& message : {WMsg::ping(false), messageOf(0, 5)}) {
        message.appendFrames(bytes);
    }
    link.toDevice(bytes);
    EXPECT_EQ(rows(capture, "zul", {"_ws.col.Info", "zul.header.seq"}),
              (Rows{{"request 4: no objects; ping; set 5: no objects", "4|0|5"}}));
}

TEST_F(ReassemblyTest, DirectionsAndConnectionsAreKeptApart)
{
    TcpCapture capture;
    auto first = capture.link();
    auto second = capture.link();
    const auto mine = segmentsOf(longMessage(9, 3000));
    const auto others = segmentsOf(longMessage(9, 3500));
    first.toServer(mine[0]);
    second.toServer(others[0]);
    first.toDevice(others[0]);
    second.toServer(others[1]);
    first.toDevice(others[1]);
    first.toServer(mine[1]);
    EXPECT_EQ(messagesIn(rows(capture, "zul.message", kMessageNames)),
              (Words{"event 9 3520", "event 9 3520", "event 9 3020"}));
    EXPECT_TRUE(rows(capture, "zul && _ws.expert", {"frame.number"}).empty());
}

using PairingTest = DissectedTest;

const Words kPairNames{"frame.number", "zul.answer_in", "zul.answer_to", "zul.time"};

TEST_F(PairingTest, AnswerPointsToItsRequestAndBack)
{
    TcpCapture capture;
    auto link = capture.link();
    link.toDevice(framesOf(messageOf(1, 4)));
    link.toDevice(framesOf(messageOf(0, 5)));
    link.toServer(framesOf(messageOf(1, 4, true)));
    link.toServer(framesOf(messageOf(0, 5, true)));
    EXPECT_EQ(rows(capture, "zul", kPairNames, {"-2"}), (Rows{{"3", "5", "", ""},
                                                              {"4", "6", "", ""},
                                                              {"5", "", "3", "0.002000000"},
                                                              {"6", "", "4", "0.002000000"}}));
}

TEST_F(PairingTest, NumberThatComesAgainMeansTheLatestRequest)
{
    TcpCapture capture;
    auto link = capture.link();
    link.toDevice(framesOf(messageOf(1, 4)));
    link.toServer(framesOf(messageOf(1, 4, true)));
    link.toDevice(framesOf(messageOf(1, 4)));
    link.toDevice(framesOf(messageOf(1, 4)));
    link.toServer(framesOf(messageOf(1, 4, true)));
    EXPECT_EQ(rows(capture, "zul", kPairNames, {"-2"}), (Rows{{"3", "4", "", ""},
                                                              {"4", "", "3", "0.001000000"},
                                                              {"5", "", "", ""},
                                                              {"6", "7", "", ""},
                                                              {"7", "", "6", "0.001000000"}}));
}

TEST_F(PairingTest, RequestBeforeTheOneAnsweredGetsNoAnswerAnyMore)
{
    TcpCapture capture;
    auto link = capture.link();
    link.toDevice(framesOf(messageOf(1, 4)));
    link.toDevice(framesOf(messageOf(1, 5)));
    link.toServer(framesOf(messageOf(1, 5, true)));
    link.toServer(framesOf(messageOf(1, 4, true)));
    EXPECT_EQ(
        rows(capture, "zul", kPairNames, {"-2"}),
        (Rows{{"3", "", "", ""}, {"4", "5", "", ""}, {"5", "", "4", "0.001000000"}, {"6", "", "", ""}}));
    EXPECT_EQ(rows(capture, complaint("answer_stray"), {"frame.number"}), (Rows{{"6"}}));
}

TEST_F(PairingTest, AnswerOfAnotherTypeDirectionOrConnectionIsNone)
{
    TcpCapture capture;
    auto link = capture.link();
    auto other = capture.link();
    link.toDevice(framesOf(messageOf(1, 4)));
    link.toServer(framesOf(messageOf(0, 4, true)));
    link.toDevice(framesOf(messageOf(1, 4, true)));
    other.toServer(framesOf(messageOf(1, 4, true)));
    EXPECT_EQ(rows(capture, "zul.answer_in or zul.answer_to", {"frame.number"}, {"-2"}), Rows{});
    EXPECT_EQ(rows(capture, complaint("answer_stray"), {"frame.number"}).size(), 3U);
}

TEST_F(PairingTest, EventsAskForNothing)
{
    TcpCapture capture;
    auto link = capture.link();
    link.toServer(framesOf(messageOf(3, 4)));
    link.toDevice(framesOf(messageOf(3, 4, true)));
    EXPECT_EQ(rows(capture, "zul.answer_in or zul.answer_to", {"frame.number"}, {"-2"}), Rows{});
}

TEST_F(PairingTest, PingsAreAnsweredInTheirOrder)
{
    TcpCapture capture;
    auto link = capture.link();
    link.toServer(framesOf(WMsg::ping(false)));
    link.toServer(framesOf(WMsg::ping(false)));
    link.toDevice(framesOf(WMsg::ping(true)));
    link.toDevice(framesOf(WMsg::ping(true)));
    EXPECT_EQ(rows(capture, "zul", kPairNames, {"-2"}), (Rows{{"3", "5", "", ""},
                                                              {"4", "6", "", ""},
                                                              {"5", "", "3", "0.002000000"},
                                                              {"6", "", "4", "0.002000000"}}));
}

TEST_F(PairingTest, TwoPassesSayWhatOneSaysAndTheLinksForward)
{
    TcpCapture capture;
    auto link = capture.link();
    link.toDevice(framesOf(messageOf(1, 4)));
    const auto segments = segmentsOf(longMessage(9, 5000));
    link.toServerInPieces(segments[0], 700);
    link.toServer(framesOf(WMsg::ping(false)));
    link.toServer(segments[1]);
    Bytes rest = segments[2];
    messageOf(1, 4, true).appendFrames(rest);
    messageOf(1, 77, true).appendFrames(rest);
    link.toServerInPieces(rest, 950);
    link.toServer(hexBytes("00 11 22 33"));
    std::istringstream twice(details(capture, {"-2"}));
    std::string without;
    for (std::string line; std::getline(twice, line);) {
        const bool isForward = contains(line, "[Answer in: ") || contains(line, "[Message ends in: ");
        without += isForward ? "" : line + "\n";
    }
    EXPECT_EQ(without, details(capture));
    EXPECT_TRUE(contains(without, "wrong magic"));
}

using FindingTest = DissectedTest;

TEST_F(FindingTest, LinkOnAnyPortIsFoundByItsFirstBytes)
{
    for (const size_t size : {100U, 16U, 10U, 4U}) {
        SCOPED_TRACE(size);
        TcpCapture capture;
        auto link = capture.link(50123);
        link.toServerInPieces(documentMessages()["event-sample"], size);
        EXPECT_EQ(rows(capture, "zul.message", {"zul.message", "zul.seqNum"}), (Rows{{"event 2", "255"}}));
    }
}

TEST_F(FindingTest, PortOfAnotherProtocolIsOursWhereTheBytesAreAskedFirst)
{
    TcpCapture capture;
    capture.link(44818).toServer(documentMessages()["event-sample"]);
    const Words bytesFirst{"-o", "tcp.try_heuristic_first:TRUE"};
    EXPECT_EQ(rows(capture, "zul.message", {"zul.message"}), Rows{});
    EXPECT_EQ(rows(capture, "zul.message", {"zul.message"}, bytesFirst), (Rows{{"event 2"}}));
}

TEST_F(FindingTest, OtherTrafficOnOtherPortsIsLeftAlone)
{
    auto messages = documentMessages();
    const Bytes good = messages["event-sample"];
    TcpCapture capture;
    for (const auto& [offset, value] : std::vector<std::pair<size_t, uint8_t>>{
             {0, 0x5B}, {1, 0x58}, {2, 2}, {3, 0x1A}, {3, 0x0C}, {8, 1}, {10, 0x08}}) {
        Bytes other = good;
        other[offset] = value;
        capture.link(50123).toServer(other);
    }
    capture.link(50123).toServer({'G', 'E', 'T', ' ', '/', '\r', '\n'});
    capture.link(50123).toServer({0x5A, 0x57, 1});
    EXPECT_EQ(rows(capture, "zul", {"frame.number"}), Rows{});
}

TEST_F(FindingTest, PortsAreThoseOfThePreferences)
{
    TcpCapture capture;
    capture.link(50000).toServer({1, 2, 3});
    capture.link(50123).toServer({1, 2, 3});
    EXPECT_EQ(rows(capture, "zul", {"tcp.dstport"}), (Rows{{"50000"}}));
    EXPECT_EQ(rows(capture, "zul", {"tcp.dstport"}, {"-o", "zul.ports:50100-50200"}), (Rows{{"50123"}}));
}

/// The filters of the manual: what stands first in the rows of its table.
Words manualFilters()
{
    std::ifstream file(MANUAL);
    Words filters;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("| `", 0) == 0) {
            const size_t end = line.find("` |");
            if (end != std::string::npos) {
                filters.push_back(line.substr(3, end - 3));
            }
        }
        if (line.rfind("## Complaints", 0) == 0) {
            break;
        }
    }
    return filters;
}

TEST_F(FindingTest, EveryFilterOfTheManualIsOne)
{
    const Words filters = manualFilters();
    EXPECT_GE(filters.size(), 10U);
    std::string all = "zul.nothing.of.this";
    const TcpCapture capture = documentCapture({"request-device"});
    capture.save(path());
    std::string complaints;
    mTshark.rows(path(), all, {"frame.number"}, {}, &complaints);
    EXPECT_NE(complaints, "");
    all = "frame";
    for (const std::string& filter : filters) {
        all += " or (" + filter + ")";
    }
    EXPECT_EQ(rows(capture, all, {"frame.number"}).size(), 3U);
}

TEST_F(FindingTest, ScriptThatFailsIsNoticed)
{
    std::ifstream in(DISSECTOR);
    std::ostringstream text;
    text << in.rdbuf();
    std::string script = text.str();
    const std::string place = "local function readHead(range)\n";
    ASSERT_TRUE(contains(script, place));
    script.insert(script.find(place) + place.size(), "    error('on purpose')\n");
    const std::string broken = mTshark.home() + "/broken.lua";
    std::ofstream(broken) << script;
    TcpCapture capture = documentCapture({"event-sample"});
    capture.save(path());
    const Tshark tshark(broken);
    std::string complaints;
    tshark.rows(path(), "frame", {"frame.number"}, {}, &complaints);
    EXPECT_TRUE(contains(complaints, "a Lua error in a frame")) << complaints;
    EXPECT_NE(tshark.read(path(), {"-V"}).complaints, "");

    std::ofstream(broken) << "error('while it is loaded')\n";
    EXPECT_NE(tshark.read(path(), {}).complaints, "");
}

} // namespace

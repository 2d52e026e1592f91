// Compares docs/protocol.md with the libraries.

#include <gtest/gtest.h>
#include <initializer_list>
#include <map>
#include <sstream>
#include <string>

#include "documentmessages.h"
#include "hexbytes.h"
#include "samplerecords.h"
#include "wmsg/wmsgreader.h"
#include "zulobj/objectlist.h"

namespace {

bool hasRow(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

/// The message that @p list makes, numbered @p seq.
std::vector<uint8_t> framesOf(const cObjectList& list, uint8_t seq, bool answer)
{
    WMsg message;
    EXPECT_TRUE(list.encode(&message).isOk());
    message.seq = seq;
    message.answer = answer;
    return framesOf(message);
}

WMsg read(const std::vector<uint8_t>& bytes)
{
    const uint8_t* data = bytes.data();
    size_t size = bytes.size();
    WMsgReader reader;
    WMsg message;
    EXPECT_EQ(reader.read(&data, &size, 0, &message), WMsgReader::MESSAGE) << reader.status().text();
    EXPECT_EQ(size, 0U);
    return message;
}

TEST(ProtocolDocumentTest, EveryMessageDecodesAndAllButTheUnknownEncodeAgain)
{
    for (const auto& [name, bytes] : documentMessages()) {
        SCOPED_TRACE(name);
        const WMsg message = read(bytes);
        EXPECT_EQ(framesOf(message), bytes);
        if (message.control || name == "unknown-object-and-tag") {
            continue;
        }
        cObjectList list;
        ASSERT_TRUE(list.decode(message).isOk());
        EXPECT_EQ(framesOf(list, message.seq, message.answer), bytes);
    }
}

using Messages = std::map<std::string, std::vector<uint8_t>>;

constexpr bool kIsAnswer = true;
constexpr uint32_t kSerial = 1001;

/// A message with @p records. Deletes them.
std::vector<uint8_t> messageWith(uint8_t type, uint8_t seq, bool answer,
                                 std::initializer_list<cObject*> records)
{
    cObjectList list;
    list.setMsgType(type);
    for (cObject* record : records) {
        list.add(record);
    }
    return framesOf(list, seq, answer);
}

template <class Port>
Port* portOf(uint32_t serial, uint32_t portId)
{
    auto* port = new Port;
    port->setDeviceSerial(serial);
    port->setPortId(portId);
    return port;
}

cObjectDevice* everyDevice()
{
    auto* device = new cObjectDevice;
    device->setDeviceSerial(cObject::kWildcard);
    return device;
}

cObjectDevice* laboratory()
{
    auto* device = new cObjectDevice;
    device->setDeviceSerial(kSerial);
    device->setDeviceLabel("Lab");
    device->setDeviceType(cObjectDevice::TYPE_DISCRETE_IO);
    device->setVersion(2);
    device->setDiscreteInCount(3);
    device->setDiscreteOutCount(2);
    device->setAnalogInCount(1);
    return device;
}

cObjectDInput* door()
{
    auto* input = portOf<cObjectDInput>(kSerial, 3);
    input->setPortLabel("Door");
    input->setInputState(cObject::OBJ_IO_STATE_SET);
    input->setDefaultState(cObject::OBJ_IO_STATE_CLEAR);
    return input;
}

cObjectDInput* requestForAPlainPort()
{
    auto* input = portOf<cObjectDInput>(kSerial, 3);
    input->setPortType(OBJ_PORT);
    return input;
}

cObjectPort* plainPort()
{
    auto* port = portOf<cObjectPort>(kSerial, 3);
    port->setPortLabel("Door");
    port->setPortStatus(cObject::OBJ_STATUS_ALARM_SET);
    port->setPortType(OBJ_PORT_DIN);
    return port;
}

cObjectAInput* offsetToSet()
{
    auto* input = portOf<cObjectAInput>(kSerial, 1);
    input->setOffset(0.5F);
    return input;
}

cObjectDOutput* outputToSet()
{
    auto* output = portOf<cObjectDOutput>(kSerial, 2);
    output->setOutputState(cObject::OBJ_IO_STATE_SET);
    return output;
}

cObjectCapability* capability(uint32_t capId, const char* label, const char* value)
{
    auto* record = new cObjectCapability;
    record->setDeviceSerial(kSerial);
    record->setCapId(capId);
    record->setLabel(label);
    record->setValue(value);
    return record;
}

cObjectAOutput* analogOutput()
{
    auto* output = portOf<cObjectAOutput>(1002, 1);
    output->setPortLabel("AOUT 1");
    output->setGain(1.0F);
    output->setOffset(0.0F);
    output->setMinimumValue(0.0F);
    output->setMaximumValue(100.0F);
    output->setDisplayUnit("fT %");
    output->setSampledValue(42.0F);
    return output;
}

cObjectAnalogSample* sample()
{
    auto* record = new cObjectAnalogSample;
    record->setDeviceSerial(kSerial);
    record->setPortNum(1);
    record->setSample(57.9F);
    record->setSeqNum(255);
    return record;
}

cObjectAdhocEvent* adHocEvent(uint32_t id, const char* label, const std::string& value)
{
    auto* event = portOf<cObjectAdhocEvent>(kSerial, id);
    event->setEventLabel(label);
    event->setEventValue(value.c_str());
    return event;
}

Messages requestsAndAnswers()
{
    constexpr uint8_t kRequest = cObjectList::kRequest;
    return {
        {"request-device", messageWith(kRequest, 7, false, {everyDevice()})},
        {"answer-device", messageWith(kRequest, 7, kIsAnswer, {laboratory()})},
        {"request-plain-port", messageWith(kRequest, 9, false, {requestForAPlainPort()})},
        {"answer-plain-port", messageWith(kRequest, 9, kIsAnswer, {plainPort()})},
        {"request-no-such-port", messageWith(kRequest, 11, false, {portOf<cObjectDOutput>(kSerial, 9)})},
        {"answer-no-such-port", messageWith(kRequest, 11, kIsAnswer, {})},
        {"request-capabilities", messageWith(kRequest, 12, false, {capability(0, nullptr, nullptr)})},
        {"answer-capabilities",
         messageWith(kRequest, 12, kIsAnswer,
                     {capability(1, "analogout", "yes"), capability(2, "version", "4.0.2")})},
        {"answer-analog-output", messageWith(kRequest, 13, kIsAnswer, {analogOutput()})},
    };
}

Messages setsAndEvents()
{
    constexpr uint8_t kSet = cObjectList::kSet;
    constexpr uint8_t kEvent = cObjectList::kEvent;
    return {
        {"set-analog-input", messageWith(kSet, 8, false, {offsetToSet()})},
        {"answer-set", messageWith(kSet, 8, kIsAnswer, {})},
        {"set-digital-output", messageWith(kSet, 10, false, {outputToSet()})},
        {"event-digital-input", messageWith(kEvent, 1, false, {door()})},
        {"event-sample", messageWith(kEvent, 2, false, {sample()})},
        {"event-ad-hoc", messageWith(kEvent, 4, false, {adHocEvent(7, "door", "forced open")})},
        {"event-two-segments",
         messageWith(kEvent, 5, false, {adHocEvent(8, "load", std::string(2020, 'x'))})},
        {"ping", framesOf(WMsg::ping(false))},
        {"ping-answer", framesOf(WMsg::ping(true))},
    };
}

TEST(ProtocolDocumentTest, EveryMessageButTheUnknownIsWhatTheRecordsMake)
{
    Messages expected = requestsAndAnswers();
    expected.merge(setsAndEvents());
    Messages written = documentMessages();
    EXPECT_EQ(written.erase("unknown-object-and-tag"), 1U);
    for (const auto& [name, bytes] : expected) {
        EXPECT_EQ(written[name], bytes) << name;
    }
    EXPECT_EQ(written.size(), expected.size());
}

TEST(ProtocolDocumentTest, TwoSegmentsHoldOneMessage)
{
    const std::vector<uint8_t> bytes = documentMessages()["event-two-segments"];
    ASSERT_GT(bytes.size(), wmsg::kMaxSegmentSize);
    const uint8_t* data = bytes.data();
    size_t size = wmsg::kMaxSegmentSize;
    WMsgReader reader;
    WMsg message;
    EXPECT_EQ(reader.read(&data, &size, 0, &message), WMsgReader::MORE);
    size = bytes.size() - wmsg::kMaxSegmentSize;
    EXPECT_EQ(reader.read(&data, &size, 0, &message), WMsgReader::MESSAGE);
    EXPECT_EQ(message.payload.size(), 2056U);
}

TEST(ProtocolDocumentTest, UnknownObjectAndTagAreReadAsItSays)
{
    cObjectList list;
    ASSERT_TRUE(list.decode(read(documentMessages()["unknown-object-and-tag"])).isOk());
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(static_cast<uint32_t>(list.first()->getType()), 99U);
    const auto* access = dynamic_cast<const cObjectAccess*>(list.next());
    ASSERT_NE(access, nullptr);
    EXPECT_STREQ(access->getLabel(), "");
    EXPECT_STREQ(access->getScanCode(), "Gr\xC3\xB6\xC3\x9F"
                                        "e");
}

/// What decoding the payload @p hex as a request comes to.
WStatus decoded(const std::string& hex, cObjectList* list)
{
    WMsg message;
    message.type = cObjectList::kRequest;
    message.payload = hexBytes(hex);
    return list->decode(message);
}

TEST(ProtocolDocumentTest, UnreadablePayloadsAreThoseThatItNames)
{
    const std::string device = "00 00 00 00  00 00 00 08  00 01 00 04  ff ff ff ff ";
    const std::pair<const char*, std::string> payloads[] = {
        {"1 byte after the last object", device + "00"},
        {"7 bytes after the last object", device + "00*7"},
        {"1 byte after the last tag", "00 00 00 00  00 00 00 09  00 01 00 04  ff ff ff ff 00"},
        {"3 bytes after the last tag", "00 00 00 00  00 00 00 0b  00 01 00 04  ff ff ff ff 00*3"},
        {"3 bytes after the last tag of an unknown object",
         "00 00 00 63  00 00 00 0b  00 01 00 04  ff ff ff ff 00*3 " + device},
        {"a tag of an unknown object that is longer than the object",
         "00 00 00 63  00 00 00 05  00 01 00 07  00 " + device},
        {"an object that is longer than the payload", "00 00 00 00  00 00 00 09  00 01 00 04  ff ff ff ff"},
        {"a number of 2 bytes before a good one",
         "00 00 00 00  00 00 00 0e  00 01 00 02  ff ff  00 01 00 04  ff ff ff ff"},
    };
    for (const auto& [name, hex] : payloads) {
        cObjectList list;
        EXPECT_FALSE(decoded(hex, &list).isOk()) << name;
    }
}

TEST(ProtocolDocumentTest, PayloadsThatItCallsReadableAreRead)
{
    const std::pair<const char*, std::string> payloads[] = {
        {"no object", ""},
        {"an object without tags", "00 00 00 02  00 00 00 00"},
        {"a tag of another record with another length", "00 00 00 02  00 00 00 06  00 09 00 02  61 62"},
        {"a text that is not UTF-8", "00 00 00 02  00 00 00 06  00 03 00 02  ff fe"},
        {"a text with a NUL", "00 00 00 02  00 00 00 07  00 03 00 03  61 00 62"},
        {"a number that comes twice",
         "00 00 00 02  00 00 00 10  00 02 00 04  00 00 00 01  00 02 00 04  00 00 00 02"},
    };
    for (const auto& [name, hex] : payloads) {
        cObjectList list;
        EXPECT_TRUE(decoded(hex, &list).isOk()) << name;
        EXPECT_EQ(list.size(), hex.empty() ? 0U : 1U) << name;
    }
}

TEST(ProtocolDocumentTest, EveryTagIsListedWithItsNumberAndType)
{
    const std::string text = documentText();
    const char* const types[] = {"number", "float", "text"};
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        const std::string row = "| " + std::to_string(entry.tag) + " | `" + entry.name + "` | " +
                                types[static_cast<int>(entry.wireType)] + " |";
        EXPECT_TRUE(hasRow(text, row)) << row;
    }
}

TEST(ProtocolDocumentTest, EveryObjectTypeIsListedWithItsNumber)
{
    const std::string text = documentText();
    for (const zuldict::Enumerator& type : zuldict::objectTypes()) {
        const std::string row = "| " + std::to_string(type.value) + " | `" + type.name + "` |";
        EXPECT_TRUE(hasRow(text, row)) << row;
    }
}

TEST(ProtocolDocumentTest, EveryEnumeratorIsListedWithItsNumber)
{
    const std::string text = documentText();
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        if (entry.names.empty() || entry.names.data() == zuldict::objectTypes().data()) {
            continue;
        }
        for (const zuldict::Enumerator& name : entry.names) {
            const std::string quoted = " `" + std::string(name.name) + "`";
            const std::string number = std::to_string(name.value);
            EXPECT_TRUE(hasRow(text, number + " |" + quoted) || hasRow(text, number + quoted)) << quoted;
        }
    }
}

/// The numbers of the tags in a cell of the records' table, such as "**1**, 3, 5 (2)".
std::vector<uint32_t> tagNumbers(const std::string& cell)
{
    std::vector<uint32_t> found;
    std::istringstream entries(cell);
    for (std::string entry; std::getline(entries, entry, ',');) {
        found.push_back(static_cast<uint32_t>(std::stoul(entry.substr(entry.find_first_of("0123456789")))));
    }
    return found;
}

TEST(ProtocolDocumentTest, EveryRecordIsListedWithItsTagsInOrder)
{
    const std::string text = documentText();
    const size_t section = text.find("\n## Records");
    ASSERT_NE(section, std::string::npos);
    for (const auto& record : sampleRecords()) {
        const std::string begin = "\n| " + std::to_string(record->getType()) + " ";
        SCOPED_TRACE(begin);
        const size_t row = text.find(begin, section);
        ASSERT_NE(row, std::string::npos);
        const size_t cell = text.find("| ", row + 2) + 2;
        const cTagList tags = record->getTags();
        std::vector<uint32_t> expected;
        for (size_t i = 0; i < tags.size(); ++i) {
            expected.push_back(tags.at(i).number());
        }
        EXPECT_EQ(tagNumbers(text.substr(cell, text.find('\n', cell) - cell)), expected);
    }
}

TEST(ProtocolDocumentTest, LimitsAreThoseOfTheLibrary)
{
    const std::string text = documentText();
    EXPECT_EQ(wmsg::kMaxSegmentSize, 2048U);
    EXPECT_EQ(wmsg::kMaxSegmentPayload, 2032U);
    EXPECT_EQ(wmsg::kMaxMessageBytes, 1048576U);
    EXPECT_EQ(wmsg::kMaxSegments, 1024U);
    EXPECT_EQ(wmsg::kMaxAgeMs, 30000);
    EXPECT_EQ(wmsg::kMaxTextBytes, 65535U);
    for (const char* limit : {"| 2,048 bytes |", "| 2,032 bytes |", "| 1,048,576 bytes |", "| 1,024 |",
                              "| 65,535 bytes |", "| 30 seconds |"}) {
        EXPECT_TRUE(hasRow(text, limit)) << limit;
    }
}

} // namespace

// Holds docs/protocol.md to what the libraries do.

#include <gtest/gtest.h>
#include <sstream>
#include <string>

#include "documentmessages.h"
#include "hexbytes.h"
#include "samplerecords.h"
#include "wmsg/wmsgreader.h"
#include "zulobj/objectlist.h"

namespace {

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

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
    const auto messages = documentMessages();
    EXPECT_EQ(messages.size(), 9U);
    for (const auto& [name, bytes] : messages) {
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

TEST(ProtocolDocumentTest, PingsAreThoseOfTheLink)
{
    auto messages = documentMessages();
    EXPECT_EQ(framesOf(WMsg::ping(false)), messages["ping"]);
    EXPECT_EQ(framesOf(WMsg::ping(true)), messages["ping-answer"]);
}

TEST(ProtocolDocumentTest, RequestForTheDeviceIsTheDocuments)
{
    cObjectList list;
    list.setMsgType(cObjectList::kRequest);
    auto* device = new cObjectDevice;
    device->setDeviceSerial(cObject::kWildcard);
    list.add(device);
    EXPECT_EQ(framesOf(list, 7, false), documentMessages()["request-device"]);
}

TEST(ProtocolDocumentTest, AnswerOfTheDeviceIsTheDocuments)
{
    cObjectList list;
    list.setMsgType(cObjectList::kRequest);
    auto* device = new cObjectDevice;
    device->setDeviceSerial(1001);
    device->setDeviceLabel("Lab");
    device->setDeviceType(cObjectDevice::TYPE_DISCRETE_IO);
    device->setVersion(2);
    device->setDiscreteInCount(3);
    device->setDiscreteOutCount(2);
    device->setAnalogInCount(1);
    list.add(device);
    EXPECT_EQ(framesOf(list, 7, true), documentMessages()["answer-device"]);
}

TEST(ProtocolDocumentTest, EventOfAnInputIsTheDocuments)
{
    cObjectList list;
    list.setMsgType(cObjectList::kEvent);
    auto* input = new cObjectDInput;
    input->setDeviceSerial(1001);
    input->setPortId(3);
    input->setPortLabel("Door");
    input->setInputState(cObject::OBJ_IO_STATE_SET);
    input->setDefaultState(cObject::OBJ_IO_STATE_CLEAR);
    list.add(input);
    EXPECT_EQ(framesOf(list, 1, false), documentMessages()["event-digital-input"]);
}

TEST(ProtocolDocumentTest, SetOfAnOffsetIsTheDocuments)
{
    cObjectList list;
    list.setMsgType(cObjectList::kSet);
    auto* input = new cObjectAInput;
    input->setDeviceSerial(1001);
    input->setPortId(1);
    input->setOffset(0.5F);
    list.add(input);
    EXPECT_EQ(framesOf(list, 8, false), documentMessages()["set-analog-input"]);
    list.deleteObjects();
    EXPECT_EQ(framesOf(list, 8, true), documentMessages()["answer-set"]);
}

TEST(ProtocolDocumentTest, EventOfASampleIsTheDocuments)
{
    cObjectList list;
    list.setMsgType(cObjectList::kEvent);
    auto* sample = new cObjectAnalogSample;
    sample->setDeviceSerial(1001);
    sample->setPortNum(1);
    sample->setSample(57.9F);
    sample->setSeqNum(255);
    list.add(sample);
    EXPECT_EQ(framesOf(list, 2, false), documentMessages()["event-sample"]);
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

TEST(ProtocolDocumentTest, EveryTagStandsThereWithItsNumberAndType)
{
    const std::string text = documentText();
    const char* const types[] = {"number", "float", "text"};
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        const std::string row = "| " + std::to_string(entry.tag) + " | `" + entry.name + "` | " +
                                types[static_cast<int>(entry.wireType)] + " |";
        EXPECT_TRUE(contains(text, row)) << row;
    }
}

TEST(ProtocolDocumentTest, EveryObjectTypeStandsThereWithItsNumber)
{
    const std::string text = documentText();
    for (const zuldict::Enumerator& type : zuldict::objectTypes()) {
        const std::string row = "| " + std::to_string(type.value) + " | `" + type.name + "` |";
        EXPECT_TRUE(contains(text, row)) << row;
    }
}

TEST(ProtocolDocumentTest, EveryEnumeratorStandsThereWithItsNumber)
{
    const std::string text = documentText();
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        if (entry.names == nullptr || entry.names == &zuldict::objectTypes()) {
            continue;
        }
        for (const zuldict::Enumerator& name : *entry.names) {
            const std::string quoted = " `" + std::string(name.name) + "`";
            const std::string number = std::to_string(name.value);
            EXPECT_TRUE(contains(text, number + " |" + quoted) || contains(text, number + quoted)) << quoted;
        }
    }
}

/// "5 (2)" of the records' table without its bracket and without bold type, in order.
std::vector<uint32_t> tagNumbers(const std::string& cell)
{
    std::vector<uint32_t> found;
    std::istringstream entries(cell);
    for (std::string entry; std::getline(entries, entry, ',');) {
        found.push_back(static_cast<uint32_t>(std::stoul(entry.substr(entry.find_first_of("0123456789")))));
    }
    return found;
}

TEST(ProtocolDocumentTest, EveryRecordStandsThereWithItsTagsInOrder)
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
    EXPECT_EQ(wmsg::kMaxTextBytes, 65535U);
    for (const char* limit : {"| 2,048 bytes |", "| 2,032 bytes |", "| 1,048,576 bytes |", "| 1,024 |",
                              "| 65,535 bytes |", "| 30 seconds |"}) {
        EXPECT_TRUE(contains(text, limit)) << limit;
    }
}

} // namespace

// What the kinds of the record layer do to messages of several records and segments.

#include "faultypipe.h"
#include "messages.h"

namespace proxy {

namespace {

/// A message without the headers of its segments, which have to be sound.
WMsg received(const Bytes& bytes)
{
    WMsgReader reader;
    WMsg message;
    const uint8_t* data = bytes.data();
    size_t size = bytes.size();
    EXPECT_EQ(reader.read(&data, &size, 0, &message), WMsgReader::MESSAGE) << reader.status().text();
    EXPECT_EQ(size, 0U);
    return message;
}

Bytes through(const std::vector<std::string>& rules, const Bytes& bytes, std::vector<Fault>* faults = nullptr)
{
    FaultyProxy proxy;
    for (const std::string& rule : rules) {
        proxy.add(rule);
    }
    FaultyPipe pipe(&proxy);
    pipe.send(kToServer, bytes);
    if (faults != nullptr) {
        *faults = pipe.faults;
    }
    return pipe.take(kToServer);
}

Bytes payloadThrough(const std::vector<std::string>& rules, const Bytes& payload)
{
    return received(through(rules, event(1, payload))).payload;
}

const Bytes kFirstPort = samplePayload(1001, 1, 0.5F);
const Bytes kSecondPort = samplePayload(1001, 2, 0.5F);
const Bytes kText = adhocPayload(1001, "x");

} // namespace

TEST(RecordFaultsTest, changeOnlyTheRecordsThatAreChosen)
{
    const Bytes all = kFirstPort + kText + kSecondPort;
    EXPECT_EQ(payloadThrough({"drop-record port=2"}, all), kFirstPort + kText);
    EXPECT_EQ(payloadThrough({"drop-record object=OBJ_ADHOC_EVENT"}, all), kFirstPort + kSecondPort);
    EXPECT_EQ(payloadThrough({"double-record port=1"}, all), kFirstPort + kFirstPort + kText + kSecondPort);
    EXPECT_EQ(payloadThrough({"field portNum=2"}, all), kSecondPort + kText + kSecondPort);
    EXPECT_EQ(payloadThrough({"drop-record"}, all), Bytes());
}

TEST(RecordFaultsTest, aPortIsPortIdOrPortNum)
{
    const Bytes all = kFirstPort + kText;
    EXPECT_EQ(payloadThrough({"drop-record port=7"}, all), kFirstPort);
    EXPECT_EQ(payloadThrough({"drop-record port=1"}, all), kText);
}

TEST(RecordFaultsTest, rulesChooseRecordsAsTheyCame)
{
    std::vector<Fault> faults;
    const Bytes out =
        through({"field portNum=9 port=1", "nan port=1", "nan port=9"}, event(1, kFirstPort), &faults);
    EXPECT_EQ(received(out).payload, samplePayload(1001, 9, std::bit_cast<float>(uint32_t{0x7FC00000})));
    EXPECT_EQ(faults.size(), 2U);
}

TEST(RecordFaultsTest, aRecordThatIsGoneIsNotChanged)
{
    std::vector<Fault> faults;
    through({"drop-record", "nan"}, event(1, kFirstPort), &faults);
    EXPECT_EQ(faults.size(), 1U);
}

TEST(RecordFaultsTest, theObjectOfAFaultIsTheTypeOfTheFirstRecordThatIsChosen)
{
    std::vector<Fault> faults;
    through({"nan", "lose object=OBJ_ANALOG_SAMPLE", "lose"}, event(1, kText + kFirstPort), &faults);
    ASSERT_EQ(faults.size(), 2U);
    EXPECT_EQ(faults[0].object, uint32_t{OBJ_ANALOG_SAMPLE});
    EXPECT_EQ(faults[1].object, uint32_t{OBJ_ANALOG_SAMPLE});
    through({"lose"}, event(1, kText + kFirstPort), &faults);
    EXPECT_EQ(faults.at(0).object, uint32_t{OBJ_ADHOC_EVENT});
    through({"lose"}, ping(), &faults);
    EXPECT_FALSE(faults.at(0).object.has_value());
}

TEST(RecordFaultsTest, aMessageIsCutIntoFullSegmentsAgain)
{
    const Bytes before = large(7, 1990);
    const Bytes after = through({"field eventValue=\"" + std::string(3900, 'y') + "\""}, before);
    const WMsg message = received(after);
    EXPECT_EQ(message.payload, adhocPayload(kSerial, std::string(3900, 'y')));
    EXPECT_EQ(message.seq, 7);
    EXPECT_TRUE(message.event);
    EXPECT_EQ(after, event(7, message.payload));
    EXPECT_EQ(through({"field eventValue=z"}, large(7, 5000)), event(7, adhocPayload(kSerial, "z")));
}

TEST(RecordFaultsTest, unreadablePayloadsAreNeverTouched)
{
    Bytes broken = kFirstPort;
    broken[7] = 0xFF; // the record says that it is longer than the message
    Bytes inner = kFirstPort;
    inner[11] = 0xFF; // its first tag says that it is longer than the record
    for (const Bytes& payload : {broken, inner, kFirstPort + Bytes(3, 0)}) {
        for (const char* rule : {"nan", "field portNum=2", "unknown-tag", "drop-record", "lose port=1",
                                 "lose object=OBJ_ANALOG_SAMPLE"}) {
            EXPECT_EQ(through({rule}, event(1, payload)), event(1, payload)) << rule;
        }
        EXPECT_EQ(through({"lose"}, event(1, payload)), Bytes());
    }
}

TEST(RecordFaultsTest, everyTagOfTheNumberIsRewritten)
{
    Bytes payload;
    PayloadWriter writer(&payload);
    writer.beginObject(OBJ_ANALOG_SAMPLE);
    writer.putNumber(TAG_PORT_NUM, uint32_t{1});
    writer.putNumber(TAG_PORT_NUM, uint32_t{2});
    writer.endObject();
    Bytes expected;
    PayloadWriter other(&expected);
    other.beginObject(OBJ_ANALOG_SAMPLE);
    other.putNumber(TAG_PORT_NUM, uint32_t{3});
    other.putNumber(TAG_PORT_NUM, uint32_t{3});
    other.endObject();
    EXPECT_EQ(payloadThrough({"field portNum=3"}, payload), expected);
}

TEST(RecordFaultsTest, aTextsLengthSaysMoreThanThereIs)
{
    for (const size_t size : {0, 10, 65534, 65535}) {
        for (const bool more : {false, true}) {
            Bytes payload;
            PayloadWriter writer(&payload);
            writer.beginObject(OBJ_ADHOC_EVENT);
            writer.putText(TAG_EVENT_LABEL, std::string(size, 'x'));
            if (more) {
                writer.putText(TAG_EVENT_VALUE, std::string(65535, 'y'));
            }
            writer.endObject();
            const Bytes after = payloadThrough({"wrong-length eventLabel"}, payload);
            WObjectReader objects(after);
            WendleObject object;
            ASSERT_TRUE(objects.next(&object));
            WTagReader tags(object.tags);
            WTagView tag;
            while (tags.next(&tag)) {
            }
            EXPECT_FALSE(tags.status().isOk()) << size << (more ? " and more" : "");
        }
    }
}

TEST(RecordFaultsTest, doublingStopsBeforeAMessageIsHuge)
{
    const std::vector<std::string> rules(30, "double-record");
    FaultyProxy proxy;
    for (const std::string& rule : rules) {
        proxy.add(rule);
    }
    FaultyPipe pipe(&proxy);
    pipe.send(kToServer, sample(1));
    EXPECT_LE(pipe.take(kToServer).size(), 3 * wmsg::kMaxMessageBytes);
}

TEST(RecordFaultsTest, anotherSerialNumberIsLearnedAsItCame)
{
    FaultyProxy proxy;
    proxy.add("wrong-serial");
    FaultyPipe pipe(&proxy);
    pipe.send(kToServer, sample(1));
    EXPECT_NE(pipe.take(kToServer), sample(1));
    EXPECT_EQ(pipe.connection().deviceSerial(), kSerial);
}

} // namespace proxy

#include "zulobj/objectlist.h"

#include <gtest/gtest.h>
#include <random>
#include <string>

#include "hexbytes.h"
#include "samplerecords.h"
#include "zulobj/recordfactory.h"

namespace {

/// A record that tells when it is freed.
class CountedRecord : public cObjectDevice
{
public:
    explicit CountedRecord(int* freed) : mFreed(freed) {}
    ~CountedRecord() override { ++*mFreed; }

private:
    int* mFreed;
};

WMsg messageOf(const char* hex)
{
    WMsg message;
    message.payload = hexBytes(hex);
    return message;
}

TEST(ObjectListTest, BeginsEmpty)
{
    cObjectList list;
    EXPECT_EQ(list.getMsgType(), 0);
    EXPECT_EQ(list.getMsgSeq(), 0);
    EXPECT_FALSE(list.getEvent());
    EXPECT_EQ(list.size(), 0U);
    EXPECT_EQ(list.next(), nullptr);
    EXPECT_EQ(list.first(), nullptr);
}

TEST(ObjectListTest, WalksInOrderAndEndsWithNull)
{
    cObjectList list;
    auto* first = new cObjectDevice;
    auto* second = new cObjectAccess;
    list.add(first);
    list.add(second);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(list.first(), first);
        EXPECT_EQ(list.next(), second);
        EXPECT_EQ(list.next(), nullptr);
        EXPECT_EQ(list.next(), nullptr);
    }
}

TEST(ObjectListTest, FreesWhatItOwnsAndNothingElse)
{
    int ownedFreed = 0;
    int borrowedFreed = 0;
    CountedRecord borrowed(&borrowedFreed);
    {
        cObjectList list;
        list.add(new CountedRecord(&ownedFreed));
        list.addBorrowed(&borrowed);
        list.add(new CountedRecord(&ownedFreed));
        EXPECT_EQ(list.size(), 3U);
    }
    EXPECT_EQ(ownedFreed, 2);
    EXPECT_EQ(borrowedFreed, 0);
}

TEST(ObjectListTest, DeletedObjectsAreGoneAtOnce)
{
    int freed = 0;
    cObjectList list;
    list.add(new CountedRecord(&freed));
    list.first();
    list.deleteObjects();
    EXPECT_EQ(freed, 1);
    EXPECT_EQ(list.size(), 0U);
    EXPECT_EQ(list.next(), nullptr);
}

TEST(ObjectListTest, NullIsSkippedWhenEncoded)
{
    cObjectList list;
    list.add(nullptr);
    list.add(new cObjectCapability);
    list.add(nullptr);
    WMsg message;
    ASSERT_TRUE(list.encode(&message).isOk());
    EXPECT_EQ(message.payload, encoded(cObjectCapability()));
}

TEST(ObjectListTest, EncodingSetsTypeAndEventFlag)
{
    for (int type = 0; type < 256; ++type) {
        cObjectList list;
        list.setMsgType(static_cast<uint8_t>(type));
        WMsg message;
        ASSERT_TRUE(list.encode(&message).isOk());
        EXPECT_EQ(message.type, type);
        EXPECT_EQ(message.event, type == 3);
        EXPECT_FALSE(message.answer || message.control);
    }
}

TEST(ObjectListTest, DecodingReplacesTheContent)
{
    cObjectList sent;
    sent.setMsgType(3);
    for (auto& record : sampleRecords()) {
        sent.add(record.release());
    }
    WMsg message;
    ASSERT_TRUE(sent.encode(&message).isOk());
    message.seq = 99;

    cObjectList received;
    received.add(new cObjectDevice);
    ASSERT_TRUE(received.decode(message).isOk());
    EXPECT_EQ(received.getMsgType(), 3);
    EXPECT_EQ(received.getMsgSeq(), 99);
    EXPECT_TRUE(received.getEvent());
    ASSERT_EQ(received.size(), sent.size());
    for (cObject *left = sent.first(), *right = received.first(); left != nullptr;
         left = sent.next(), right = received.next()) {
        EXPECT_EQ(encoded(*left), encoded(*right));
    }
}

WMsg messageOf(const cObjectList& list)
{
    WMsg message;
    EXPECT_TRUE(list.encode(&message).isOk());
    return message;
}

/// A message of each of: all sample records, fresh ones of the same types, both in turn, and one kind thrice.
std::vector<WMsg> differentMessages()
{
    cObjectList full;
    cObjectList fresh;
    cObjectList mixed;
    for (auto& record : sampleRecords()) {
        fresh.add(zulobj::createRecord(record->getType()).release());
        mixed.add(record->clone());
        mixed.add(zulobj::createRecord(record->getType()).release());
        full.add(record.release());
    }
    cObjectList thrice;
    for (uint32_t port = 1; port <= 3; ++port) {
        auto* input = new cObjectDInput;
        input->setPortId(port);
        input->setPortLabel(port == 2 ? "the second one" : nullptr);
        thrice.add(input);
    }
    return {messageOf(full), messageOf(fresh), messageOf(mixed), messageOf(thrice), WMsg()};
}

TEST(ObjectListTest, DecodingAgainLeavesNothingOfTheFormerContent)
{
    const std::vector<WMsg> messages = differentMessages();
    for (const WMsg& before : messages) {
        for (const WMsg& after : messages) {
            cObjectList list;
            ASSERT_TRUE(list.decode(before).isOk());
            ASSERT_TRUE(list.decode(after).isOk());
            EXPECT_EQ(messageOf(list).payload, after.payload);
        }
    }
}

TEST(ObjectListTest, DecodingAgainUsesTheRecordsAgain)
{
    const WMsg message = differentMessages()[3];
    cObjectList list;
    ASSERT_TRUE(list.decode(message).isOk());
    const cObject* first = list.first();
    ASSERT_TRUE(list.decode(message).isOk());
    EXPECT_EQ(list.first(), first);
    EXPECT_EQ(list.size(), 3U);
}

TEST(ObjectListTest, RecordsThatWereAddedAreNotUsedAgain)
{
    int freed = 0;
    cObjectList list;
    ASSERT_TRUE(list.decode(differentMessages()[3]).isOk());
    list.add(new CountedRecord(&freed));
    ASSERT_TRUE(list.decode(differentMessages()[0]).isOk());
    EXPECT_EQ(freed, 1);
    EXPECT_EQ(messageOf(list).payload, differentMessages()[0].payload);
}

/// What a list says of a message, whether it could be read or not.
std::string readInto(cObjectList* list, const WMsg& message)
{
    const WStatus status = list->decode(message);
    json_t* json = list->getJSONObj();
    char* text = json_dumps(json, 0);
    const std::string said = status.text() + ' ' + (text != nullptr ? text : "");
    free(text);
    json_decref(json);
    return said;
}

TEST(ObjectListTest, DamagedMessagesAreReadAlikeByUsedAndFreshLists)
{
    const std::vector<WMsg> messages = differentMessages();
    std::mt19937 random(20261121); // the same at every run
    cObjectList used;
    for (int round = 0; round < 5000; ++round) {
        WMsg message = messages[random() % messages.size()];
        for (size_t changes = random() % 4; changes > 0 && !message.payload.empty(); --changes) {
            message.payload[random() % message.payload.size()] = static_cast<uint8_t>(random());
        }
        if (random() % 8 == 0 && !message.payload.empty()) {
            message.payload.resize(random() % message.payload.size());
        }
        cObjectList fresh;
        ASSERT_EQ(readInto(&used, message), readInto(&fresh, message)) << "round " << round;
    }
}

TEST(ObjectListTest, TagsInAnotherOrderAreReadAsWell)
{
    const WMsg reversed = messageOf("00 00 00 02  00 00 00 18\n"
                                    "  00 08 00 04  00 00 00 02     ; default state\n"
                                    "  00 02 00 04  00 00 00 07     ; port id\n"
                                    "  00 01 00 04  00 00 03 e9     ; device serial\n");
    cObjectList list;
    ASSERT_TRUE(list.decode(differentMessages()[3]).isOk());
    ASSERT_TRUE(list.decode(reversed).isOk());
    ASSERT_EQ(list.size(), 1U);
    const auto* input = dynamic_cast<const cObjectDInput*>(list.first());
    ASSERT_NE(input, nullptr);
    EXPECT_EQ(input->getDeviceSerial(), 1001U);
    EXPECT_EQ(input->getPortId(), 7U);
    EXPECT_EQ(input->getDefaultState(), cObject::OBJ_IO_STATE_CLEAR);
    EXPECT_EQ(input->getInputState(), cObject::OBJ_IO_STATE_UNKNOWN);
    EXPECT_EQ(input->getPortType(), static_cast<uint32_t>(OBJ_PORT_DIN)) << "absent, so its default";
}

TEST(ObjectListTest, AListIsItsRecordsOneAfterTheOther)
{
    cObjectList list;
    std::vector<uint8_t> expected;
    for (int round = 0; round < 3; ++round) {
        for (auto& record : sampleRecords()) {
            for (int again = 0; again <= round; ++again) {
                const std::vector<uint8_t> bytes = encoded(*record);
                expected.insert(expected.end(), bytes.begin(), bytes.end());
                list.add(record->clone());
                list.add(round == 2 ? nullptr : record->clone());
                if (round != 2) {
                    expected.insert(expected.end(), bytes.begin(), bytes.end());
                }
            }
        }
    }
    WMsg message;
    message.payload.assign(7, 0xEE); // is overwritten
    ASSERT_TRUE(list.encode(&message).isOk());
    EXPECT_EQ(message.payload, expected);
}

TEST(ObjectListTest, UnknownTypeArrivesAsPlainRecordWithItsCode)
{
    cObjectList list;
    ASSERT_TRUE(list.decode(messageOf("00 00 00 63  00 00 00 05  00 c8 00 01  2a\n"
                                      "ff ff ff ff  00 00 00 00\n"
                                      "00 00 00 0c  00 00 00 08  00 1f 00 04  00 00 00 07\n"))
                    .isOk());
    ASSERT_EQ(list.size(), 3U);
    EXPECT_EQ(static_cast<uint32_t>(list.first()->getType()), 99U);
    EXPECT_EQ(static_cast<uint32_t>(list.next()->getType()), 0xFFFFFFFFU);
    EXPECT_EQ(dynamic_cast<cObjectCapability&>(*list.next()).getCapId(), 7U);
}

TEST(ObjectListTest, MalformedMessageNamesItsFault)
{
    struct Row
    {
        const char* name;
        const char* payload;
        const char* field;
        size_t before;
    };
    const Row rows[] = {
        {"object ends within its header", "00 00 00 0c 00", "object", 0},
        {"object too long", "00 00 00 0c 00 00 00 01", "object length", 0},
        {"second object too long", "00 00 00 0c 00 00 00 00  00 00 00 0c ff ff ff ff", "object length", 1},
        {"tag ends within its header", "00 00 00 0c 00 00 00 03  00 1f 00", "tag", 0},
        {"tag too long", "00 00 00 0c 00 00 00 04  00 1f 00 01", "tag length", 0},
        {"tag too long in an unknown object", "00 00 00 63 00 00 00 04  00 1f 00 01", "tag length", 0},
        {"number of one byte", "00 00 00 0c 00 00 00 05  00 1f 00 01 07", "capId", 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        cObjectList list;
        EXPECT_STREQ(list.decode(messageOf(row.payload)).field(), row.field);
        EXPECT_EQ(list.size(), row.before) << "the records before the fault stay";
    }
}

TEST(ObjectListTest, ListThatIsTooLargeIsAnError)
{
    const std::string text(60000, 'x');
    cObjectList list;
    cObjectCapability capability;
    capability.setValue(text.c_str());
    const size_t fitting = wmsg::kMaxMessageBytes / encoded(capability).size();
    for (size_t i = 0; i < fitting; ++i) {
        list.addBorrowed(&capability);
    }
    WMsg message;
    EXPECT_TRUE(list.encode(&message).isOk());
    list.addBorrowed(&capability);
    EXPECT_STREQ(list.encode(&message).field(), "message");
}

} // namespace

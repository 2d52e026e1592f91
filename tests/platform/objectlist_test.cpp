#include "zulobj/objectlist.h"

#include <gtest/gtest.h>
#include <string>

#include "hexbytes.h"
#include "samplerecords.h"

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

#include <gtest/gtest.h>

#include "rawdevice.h"
#include "zulcommand/messagelog.h"
#include "zulobj/device.h"
#include "zulobj/dinput.h"
#include "zulobj/doutput.h"
#include "zulobj/objectlist.h"

using namespace zulcommand;

namespace {

WMsg numbered(uint8_t seq)
{
    WMsg message = inputEvent(1);
    message.seq = seq;
    return message;
}

} // namespace

TEST(MessageLogTest, theEarliestIsTakenOnce)
{
    MessageLog log;
    log.add(7, numbered(1));
    log.add(7, numbered(2));
    WMsg message;
    ASSERT_TRUE(log.take({}, 0, &message));
    EXPECT_EQ(message.seq, 1);
    ASSERT_TRUE(log.take({}, 0, &message));
    EXPECT_EQ(message.seq, 2);
    EXPECT_FALSE(log.take({}, 0, &message));
}

TEST(MessageLogTest, aFilterPassesOverTheOthers)
{
    MessageLog log;
    cObjectDevice device;
    cObjectDOutput output;
    log.add(7, numbered(1));
    log.add(8, messageOf(cObjectList::kEvent, {&device, &output}));
    WMsg message;
    EXPECT_FALSE(log.take({9, {}, {}}, 0, &message));
    EXPECT_FALSE(log.take({{}, OBJ_PORT_AIN, {}}, 0, &message));
    EXPECT_FALSE(log.take({7, OBJ_PORT_DOUT, {}}, 0, &message));
    ASSERT_TRUE(log.take({{}, OBJ_PORT_DOUT, {}}, 0, &message));
    EXPECT_GT(message.payload.size(), numbered(1).payload.size());
    ASSERT_TRUE(log.take({7, OBJ_PORT_DIN, {}}, 0, &message));
    EXPECT_EQ(message.seq, 1);
}

TEST(MessageLogTest, aPeerTellsTwoDevicesApart)
{
    MessageLog log;
    log.add(7, numbered(1), "10.0.0.1:40000");
    log.add(7, numbered(2), "10.0.0.2:40000");
    MessageLog::Filter filter;
    filter.deviceSerial = 7;
    filter.peer = "10.0.0.2:40000";
    WMsg message;
    ASSERT_TRUE(log.take(filter, 0, &message));
    EXPECT_EQ(message.seq, 2);
    EXPECT_FALSE(log.take(filter, 0, &message));
}

TEST(MessageLogTest, conditionsHoldForOneObjectTogether)
{
    MessageLog log;
    cObjectDInput first;
    first.setPortId(1);
    first.setInputState(cObject::OBJ_IO_STATE_SET);
    cObjectDInput second;
    second.setPortId(2);
    log.add(7, messageOf(cObjectList::kEvent, {&first, &second}));
    const auto wanted = [](const char* conditions) {
        CommandWords words(conditions);
        MessageLog::Filter filter{{}, OBJ_PORT_DIN, {}};
        for (const zuldict::TagEntry& entry : zuldict::tags()) {
            if (const std::optional<FieldValue> value = words.field(entry.name)) {
                filter.conditions.emplace_back(entry, *value, &words);
            }
        }
        EXPECT_EQ(words.finish(), "");
        return filter;
    };
    EXPECT_EQ(log.find(wanted("portId=2 inputState=OBJ_IO_STATE_SET"), 0), nullptr);
    EXPECT_NE(log.find(wanted("portId=1 inputState=OBJ_IO_STATE_SET"), 0), nullptr);
    EXPECT_NE(log.find(wanted("portId=2 inputState=OBJ_IO_STATE_UNKNOWN"), 0), nullptr);
    EXPECT_EQ(log.find(wanted("portId=1"), log.added()), nullptr);
    log.clear();
    EXPECT_EQ(log.find(wanted("portId=1"), 0), nullptr);
}

TEST(MessageLogTest, theLatestOfAllAreShownOldestFirst)
{
    MessageLog log;
    cObjectDevice device;
    for (uint8_t seq = 1; seq <= 5; ++seq) {
        log.add(7, numbered(seq));
    }
    log.add(7, messageOf(cObjectList::kEvent, {&device}));
    const size_t size = numbered(1).payload.size();
    const auto few = log.latest({{}, OBJ_PORT_DIN, {}}, 2, size * 10);
    EXPECT_EQ(few.all, 5U);
    ASSERT_EQ(few.entries.size(), 2U);
    EXPECT_EQ(few.entries[0]->message.seq, 4);
    EXPECT_EQ(few.entries[1]->message.seq, 5);
    EXPECT_EQ(log.latest({{}, OBJ_PORT_DIN, {}}, 10, size * 3).entries.size(), 3U);
    EXPECT_EQ(log.latest({{}, OBJ_PORT_DIN, {}}, 10, size * 3 - 1).entries.size(), 2U);
    EXPECT_EQ(log.latest({}, 10, 1000000).entries.size(), 6U);
    EXPECT_EQ(log.latest({8, {}, {}}, 10, 1000000).all, 0U);
}

TEST(MessageLogTest, onlyWhatCameSinceIsLookedAt)
{
    MessageLog log;
    log.add(7, numbered(1));
    const uint64_t since = log.added();
    WMsg message;
    EXPECT_FALSE(log.take({}, since, &message));
    log.add(7, numbered(2));
    ASSERT_TRUE(log.take({}, since, &message));
    EXPECT_EQ(message.seq, 2);
}

TEST(MessageLogTest, theOldestGoBeyondTheLimits)
{
    MessageLog few({2, 1000000});
    MessageLog small({1000, numbered(1).payload.size() * 2});
    for (MessageLog* log : {&few, &small}) {
        for (uint8_t seq = 1; seq <= 5; ++seq) {
            log->add(7, numbered(seq));
        }
        WMsg message;
        ASSERT_TRUE(log->take({}, 0, &message));
        EXPECT_EQ(message.seq, 4);
        ASSERT_TRUE(log->take({}, 0, &message));
        EXPECT_EQ(message.seq, 5);
        EXPECT_FALSE(log->take({}, 0, &message));
    }
}

#include <gtest/gtest.h>

#include "rawdevice.h"
#include "server/messagelog.h"
#include "zulobj/device.h"
#include "zulobj/dinput.h"
#include "zulobj/doutput.h"
#include "zulobj/objectlist.h"

using server::MessageLog;

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
    EXPECT_FALSE(log.take({9, {}}, 0, &message));
    EXPECT_FALSE(log.take({{}, OBJ_PORT_AIN}, 0, &message));
    EXPECT_FALSE(log.take({7, OBJ_PORT_DOUT}, 0, &message));
    ASSERT_TRUE(log.take({{}, OBJ_PORT_DOUT}, 0, &message));
    EXPECT_GT(message.payload.size(), numbered(1).payload.size());
    ASSERT_TRUE(log.take({7, OBJ_PORT_DIN}, 0, &message));
    EXPECT_EQ(message.seq, 1);
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

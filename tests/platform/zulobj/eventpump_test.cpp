#include "zulobj/eventpump.h"

#include <gtest/gtest.h>

#include "listeners.h"

namespace {

LinkSession::Received messageOf(uint8_t type, uint8_t seq = 0)
{
    LinkSession::Received received;
    received.message.type = type;
    received.message.seq = seq;
    received.token = {5, seq};
    return received;
}

} // namespace

TEST(EventPumpTest, aListenerAddedTwiceIsCalledTwice)
{
    RecordingListener listener;
    cEventPump pump;
    pump.addListener(&listener);
    pump.addListener(&listener);
    EXPECT_TRUE(pump.deliver(messageOf(3)).isOk());
    EXPECT_TRUE(pump.deliver(messageOf(4)).isOk());
    EXPECT_EQ(listener.types(), (std::vector<int>{3, 3, 4, 4}));
}

TEST(EventPumpTest, aListenerMayAddListenersWhichAreCalledFromTheNextMessageOn)
{
    RecordingListener added;
    cEventPump pump;
    FunctionListener adding([&](cObjectList*) { pump.addListener(&added); });
    pump.addListener(&adding);
    EXPECT_TRUE(pump.deliver(messageOf(3)).isOk());
    EXPECT_TRUE(pump.deliver(messageOf(4)).isOk());
    EXPECT_EQ(added.types(), (std::vector<int>{4}));
}

TEST(EventPumpTest, theTokenIsThatOfTheMessageBeingDeliveredIfTheTypeIsTheSame)
{
    cEventPump pump;
    int calls = 0;
    FunctionListener asking([&](cObjectList*) {
        ++calls;
        EXPECT_FALSE(pump.tokenFor(0));
        ASSERT_TRUE(pump.tokenFor(1));
        EXPECT_EQ(pump.tokenFor(1)->connection, 5U);
        EXPECT_EQ(pump.tokenFor(1)->seq, 9);
    });
    pump.addListener(&asking);
    EXPECT_FALSE(pump.tokenFor(1));
    EXPECT_TRUE(pump.deliver(messageOf(1, 9)).isOk());
    EXPECT_FALSE(pump.tokenFor(1));
    EXPECT_EQ(calls, 1);
}

TEST(EventPumpTest, anUnreadableMessageReachesNoListener)
{
    RecordingListener listener;
    cEventPump pump;
    pump.addListener(&listener);
    LinkSession::Received broken = messageOf(3);
    broken.message.payload = {1, 2, 3};
    EXPECT_FALSE(pump.deliver(broken).isOk());
    EXPECT_TRUE(listener.types().empty());
}

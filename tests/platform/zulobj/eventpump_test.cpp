#include "zulobj/eventpump.h"

#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <thread>

#include "listeners.h"

namespace {

std::unique_ptr<cObjectList> listOf(uint8_t type, uint8_t seq = 0)
{
    auto list = std::make_unique<cObjectList>();
    list->setMsgType(type);
    list->setMsgSeq(seq);
    return list;
}

TEST(EventPumpTest, DeliversInTheOrderOfArrival)
{
    RecordingListener listener;
    cEventPump pump;
    pump.addListener(&listener);
    pump.start();
    for (int i = 0; i < 200; ++i) {
        ASSERT_TRUE(pump.push(listOf(static_cast<uint8_t>(i)), 10, 1));
    }
    ASSERT_TRUE(listener.waitForCount(200));
    for (size_t i = 0; i < 200; ++i) {
        EXPECT_EQ(listener.types()[i], i);
    }
}

TEST(EventPumpTest, DeliversOnTheCallingThreadWhereItWasNotStarted)
{
    std::vector<int> types;
    FunctionListener listener([&](cObjectList* list) { types.push_back(list->getMsgType()); });
    cEventPump pump;
    pump.addListener(&listener);
    pump.add(listOf(7), 10, 1);
    pump.add(listOf(8), 10, 1);
    EXPECT_TRUE(types.empty());
    pump.hold(true);
    pump.deliverQueued();
    EXPECT_TRUE(types.empty());
    pump.hold(false);
    pump.deliverQueued();
    EXPECT_EQ(types, (std::vector<int>{7, 8}));
}

TEST(EventPumpTest, RoomEndsWithTheBoundAndComesWithADelivery)
{
    cEventPump pump;
    pump.add(listOf(7), cEventPump::kMaxQueuedBytes, 1);
    EXPECT_TRUE(pump.hasRoom());
    pump.add(listOf(8), 1, 1);
    EXPECT_FALSE(pump.hasRoom());
    pump.deliverQueued();
    EXPECT_TRUE(pump.hasRoom());
}

TEST(EventPumpTest, ListenerAddedTwiceIsCalledTwice)
{
    RecordingListener listener;
    cEventPump pump;
    pump.addListener(&listener);
    pump.addListener(&listener);
    pump.start();
    pump.push(listOf(3), 10, 1);
    pump.push(listOf(4), 10, 1);
    ASSERT_TRUE(listener.waitForCount(4));
    EXPECT_EQ(listener.types(), (std::vector<int>{3, 3, 4, 4}));
}

TEST(EventPumpTest, ListenerMayAddListeners)
{
    RecordingListener added;
    cEventPump pump;
    FunctionListener adding([&](cObjectList*) { pump.addListener(&added); });
    pump.addListener(&adding);
    pump.start();
    pump.push(listOf(3), 10, 1);
    pump.push(listOf(4), 10, 1);
    ASSERT_TRUE(added.waitForCount(1));
    EXPECT_EQ(added.types(), (std::vector<int>{4})) << "called from the next message on";
}

TEST(EventPumpTest, DescribesTheMessageBeingDelivered)
{
    cEventPump pump;
    BlockingListener listener;
    pump.addListener(&listener);
    cEventPump::Delivery delivery;
    EXPECT_FALSE(pump.delivering(1, &delivery));
    pump.start();
    pump.push(listOf(1, 9), 10, 5);
    ASSERT_TRUE(listener.waitUntilCalled());
    EXPECT_FALSE(pump.delivering(0, &delivery));
    ASSERT_TRUE(pump.delivering(1, &delivery));
    EXPECT_EQ(delivery.type, 1);
    EXPECT_EQ(delivery.seq, 9);
    EXPECT_EQ(delivery.connection, 5U);
    listener.release();
    pump.stop();
    EXPECT_FALSE(pump.delivering(1, &delivery));
}

/// A pump with one call under way and more queued than fits.
struct FullPump
{
    FullPump()
    {
        pump.addListener(&listener);
        pump.start();
        pump.push(listOf(1), 10, 1);
        called = listener.waitUntilCalled();
        pump.push(listOf(2), cEventPump::kMaxQueuedBytes + 1, 1);
        waiting = std::async(std::launch::async, [this] { return pump.push(listOf(3), 10, 1); });
    }

    ~FullPump() { listener.release(); }

    BlockingListener listener;
    cEventPump pump;
    bool called = false;
    std::future<bool> waiting;
};

TEST(EventPumpTest, PushWaitsForRoom)
{
    FullPump full;
    ASSERT_TRUE(full.called);
    EXPECT_EQ(full.listener.calls(), 1);
    full.listener.release();
    EXPECT_TRUE(full.waiting.get());
    EXPECT_TRUE(full.listener.waitForCalls(3));
}

TEST(EventPumpTest, RefusalReleasesAPushThatWaits)
{
    FullPump full;
    ASSERT_TRUE(full.called);
    full.pump.refuse(true);
    EXPECT_FALSE(full.waiting.get());
    EXPECT_FALSE(full.pump.push(listOf(4), 10, 1));
    full.listener.release();
    EXPECT_TRUE(full.listener.waitForCalls(2)) << "what was queued is delivered";
    full.pump.refuse(false);
    EXPECT_TRUE(full.pump.push(listOf(5), 10, 1));
    EXPECT_TRUE(full.listener.waitForCalls(3));
}

TEST(EventPumpTest, StopWhileFullReleasesAPushThatWaits)
{
    FullPump full;
    ASSERT_TRUE(full.called);
    std::thread stopping([&] { full.pump.stop(); });
    EXPECT_FALSE(full.waiting.get());
    full.listener.release();
    stopping.join();
    EXPECT_EQ(full.listener.calls(), 1) << "what was queued is dropped";
}

TEST(EventPumpTest, HeldPumpBeginsNoCall)
{
    cEventPump pump;
    RecordingListener listener;
    FunctionListener holding([&](cObjectList*) { pump.hold(true); });
    pump.addListener(&holding);
    pump.addListener(&listener);
    pump.start();
    pump.push(listOf(3), 10, 1);
    pump.push(listOf(4), 10, 1);
    ASSERT_TRUE(listener.waitForCount(1)) << "the call that is being made goes on";
    EXPECT_TRUE(pump.push(listOf(5), 10, 1));
    EXPECT_EQ(listener.types(), (std::vector<int>{3}));
    pump.hold(false);
    EXPECT_TRUE(listener.waitForCount(2));
    pump.stop();
    EXPECT_EQ(listener.types(), (std::vector<int>{3, 4})) << "a held pump stops and drops the rest";
}

TEST(EventPumpTest, StartsAgainAfterStop)
{
    RecordingListener listener;
    cEventPump pump;
    pump.addListener(&listener);
    for (int round = 1; round <= 3; ++round) {
        pump.start();
        pump.start();
        pump.push(listOf(3), 10, 1);
        ASSERT_TRUE(listener.waitForCount(static_cast<size_t>(round)));
        pump.stop();
        pump.stop();
        EXPECT_FALSE(pump.push(listOf(4), 10, 1));
    }
}

} // namespace

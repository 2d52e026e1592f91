#include "zulobj/outqueue.h"

#include <gtest/gtest.h>
#include <vector>

#include "zulobj/msgreg.h"

namespace {

constexpr size_t kPayload = 1000;
constexpr size_t kEntryBytes = kPayload + sizeof(cOutQueue::Entry);

cOutQueue::Entry entryOf(uint8_t seq, uint64_t connection = cOutQueue::kAnyConnection)
{
    cOutQueue::Entry entry;
    entry.message.seq = seq;
    entry.message.payload.resize(kPayload);
    entry.connection = connection;
    return entry;
}

std::vector<int> takeAll(cOutQueue* queue)
{
    std::vector<int> taken;
    cOutQueue::Entry entry;
    while (queue->pop(&entry)) {
        taken.push_back(entry.message.seq);
    }
    return taken;
}

TEST(OutQueueTest, HandsOutInOrder)
{
    cOutQueue queue(100 * kEntryBytes);
    for (const uint8_t seq : {1, 2, 3}) {
        queue.push(entryOf(seq));
    }
    EXPECT_FALSE(queue.empty());
    EXPECT_EQ(takeAll(&queue), (std::vector<int>{1, 2, 3}));
    EXPECT_TRUE(queue.empty());
}

TEST(OutQueueTest, DropsTheOldestEventPastTheBound)
{
    cOutQueue queue(3 * kEntryBytes);
    for (const uint8_t seq : {1, 2, 3}) {
        queue.push(entryOf(seq));
    }
    EXPECT_EQ(queue.takeDropped(), 0U) << "the bound itself is permitted";
    queue.push(entryOf(4));
    queue.push(entryOf(5));
    EXPECT_EQ(queue.takeDropped(), 2U);
    EXPECT_EQ(queue.takeDropped(), 0U) << "counted from the last call";
    EXPECT_EQ(takeAll(&queue), (std::vector<int>{3, 4, 5}));
}

TEST(OutQueueTest, HoldsExactlyAsManyBytesAsPermitted)
{
    for (const size_t bound : {3 * kEntryBytes - 1, 3 * kEntryBytes, 3 * kEntryBytes + 1}) {
        SCOPED_TRACE(bound);
        cOutQueue queue(bound);
        for (const uint8_t seq : {1, 2, 3}) {
            queue.push(entryOf(seq));
        }
        EXPECT_EQ(queue.takeDropped(), bound < 3 * kEntryBytes ? 1U : 0U);
    }
}

TEST(OutQueueTest, TakingMakesRoom)
{
    cOutQueue queue(kEntryBytes);
    for (const uint8_t seq : {1, 2, 3}) {
        queue.push(entryOf(seq));
        EXPECT_EQ(takeAll(&queue), (std::vector<int>{seq}));
    }
    EXPECT_EQ(queue.takeDropped(), 0U);
}

TEST(OutQueueTest, AnswersAndRequestsAreNotDroppedForEvents)
{
    cMsgReg request;
    cOutQueue::Entry requested = entryOf(1);
    requested.request = &request;
    cOutQueue queue(2 * kEntryBytes);
    queue.push(std::move(requested));
    queue.push(entryOf(2, 7));
    for (const uint8_t seq : {3, 4, 5}) {
        queue.push(entryOf(seq));
    }
    EXPECT_EQ(takeAll(&queue), (std::vector<int>{1, 2, 5}));
}

TEST(OutQueueTest, PutBackStandsInFront)
{
    cOutQueue queue(3 * kEntryBytes);
    queue.push(entryOf(2));
    queue.pushFront(entryOf(1));
    EXPECT_EQ(takeAll(&queue), (std::vector<int>{1, 2}));
}

TEST(OutQueueTest, PutBackIsTheOldest)
{
    cOutQueue queue(2 * kEntryBytes);
    queue.push(entryOf(2));
    queue.push(entryOf(3));
    queue.pushFront(entryOf(1));
    EXPECT_EQ(queue.takeDropped(), 1U);
    EXPECT_EQ(takeAll(&queue), (std::vector<int>{2, 3}));
}

TEST(OutQueueTest, DropsWhatBelongsToOtherConnections)
{
    cOutQueue queue(100 * kEntryBytes);
    queue.push(entryOf(1, 7));
    queue.push(entryOf(2));
    queue.push(entryOf(3, 8));
    queue.push(entryOf(4, 7));
    queue.dropOthers(8);
    EXPECT_EQ(queue.connectionBytes(), kEntryBytes);
    EXPECT_EQ(takeAll(&queue), (std::vector<int>{2, 3}));
    EXPECT_EQ(queue.connectionBytes(), 0U);
}

TEST(OutQueueTest, CountsTheBytesOfAConnection)
{
    cOutQueue queue(100 * kEntryBytes);
    queue.push(entryOf(1));
    EXPECT_EQ(queue.connectionBytes(), 0U);
    queue.push(entryOf(2, 7));
    queue.push(entryOf(3, 7));
    EXPECT_EQ(queue.connectionBytes(), 2 * kEntryBytes);
    takeAll(&queue);
    EXPECT_EQ(queue.connectionBytes(), 0U);
}

TEST(OutQueueTest, DropsTheEntryOfARequest)
{
    cMsgReg request;
    cMsgReg other;
    cOutQueue::Entry requested = entryOf(2);
    requested.request = &request;
    cOutQueue queue(100 * kEntryBytes);
    queue.push(entryOf(1));
    queue.push(std::move(requested));
    queue.dropRequest(&other);
    queue.dropRequest(&request);
    queue.dropRequest(&request);
    EXPECT_EQ(takeAll(&queue), (std::vector<int>{1}));
    EXPECT_EQ(queue.takeDropped(), 0U) << "only events are counted";
}

TEST(MsgRegistryTest, FindsARequestByItsNumberOnce)
{
    cMsgReg request;
    cMsgRegistry registry;
    EXPECT_FALSE(registry.isTaken(5));
    registry.add(5, &request);
    EXPECT_TRUE(registry.isTaken(5));
    EXPECT_EQ(registry.answered(6), nullptr);
    EXPECT_EQ(registry.answered(5), &request);
    EXPECT_FALSE(registry.isTaken(5));
    EXPECT_EQ(registry.answered(5), nullptr);
}

TEST(MsgRegistryTest, ANumberGivenUpStaysTakenUntilItsAnswerComes)
{
    cMsgReg request;
    cMsgRegistry registry;
    registry.add(5, &request);
    registry.giveUp(&request);
    EXPECT_TRUE(registry.isTaken(5));
    EXPECT_EQ(registry.givenUp(), 1U);
    EXPECT_EQ(registry.answered(5), nullptr);
    EXPECT_FALSE(registry.isTaken(5));
    EXPECT_EQ(registry.givenUp(), 0U);
}

TEST(MsgRegistryTest, AnAnswerFreesWhatWasGivenUpBeforeIt)
{
    cMsgReg waiting;
    cMsgReg late;
    cMsgReg answered;
    cMsgReg later;
    cMsgRegistry registry;
    registry.add(1, &waiting);
    registry.add(2, &late);
    registry.add(3, &answered);
    registry.add(4, &later);
    registry.giveUp(&late);
    registry.giveUp(&later);
    EXPECT_EQ(registry.answered(3), &answered);
    EXPECT_TRUE(registry.isTaken(1)) << "somebody waits for it";
    EXPECT_FALSE(registry.isTaken(2));
    EXPECT_TRUE(registry.isTaken(4)) << "it was sent later";
}

TEST(MsgRegistryTest, FailsAllThatWait)
{
    cMsgReg first;
    cMsgReg second;
    cMsgReg third;
    cMsgRegistry registry;
    registry.add(0, &first);
    registry.add(255, &second);
    registry.add(7, &third);
    registry.giveUp(&third);
    registry.failAll(cMsgReg::MSG_ERROR);
    EXPECT_TRUE(first.complete && second.complete);
    EXPECT_EQ(second.status, cMsgReg::MSG_ERROR);
    EXPECT_EQ(third.status, cMsgReg::MSG_WAITING);
    EXPECT_FALSE(registry.isTaken(0) || registry.isTaken(255) || registry.isTaken(7));
}

} // namespace

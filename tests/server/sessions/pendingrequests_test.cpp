#include <gtest/gtest.h>

#include "server/sessions/pendingrequests.h"

using server::PendingRequests;

namespace {

WMsg answerTo(uint8_t seq)
{
    WMsg answer;
    answer.answer = true;
    answer.seq = seq;
    return answer;
}

} // namespace

TEST(PendingRequestsTest, numbersRunFromOneOverZero)
{
    uint8_t last = 0;
    PendingRequests requests(&last);
    for (int i = 1; i <= 300; ++i) {
        EXPECT_EQ(requests.number(), i % 256);
    }
}

TEST(PendingRequestsTest, anAnswerReachesItsRequestOnce)
{
    uint8_t last = 0;
    PendingRequests requests(&last);
    int got = 0;
    const uint8_t seq = *requests.number([&got](const WMsg* answer) { got += answer != nullptr ? 1 : 100; });
    EXPECT_TRUE(requests.answer(answerTo(seq)));
    EXPECT_FALSE(requests.answer(answerTo(seq)));
    EXPECT_EQ(got, 1);
    EXPECT_EQ(requests.dropped(), 1U);
}

TEST(PendingRequestsTest, aNumberIsNotReusedWhileItsRequestIsOutstanding)
{
    uint8_t last = 0;
    PendingRequests requests(&last);
    const uint8_t seq = *requests.number([](const WMsg*) {});
    for (int i = 0; i < 600; ++i) {
        EXPECT_NE(requests.number(), seq);
    }
}

TEST(PendingRequestsTest, anAnswerAfterGivingUpIsDroppedAndFreesTheNumber)
{
    uint8_t last = 0;
    PendingRequests requests(&last);
    bool called = false;
    const uint8_t seq = *requests.number([&called](const WMsg*) { called = true; });
    requests.giveUp(seq);
    for (int i = 0; i < 300; ++i) {
        EXPECT_NE(requests.number(), seq);
    }
    EXPECT_FALSE(requests.answer(answerTo(seq)));
    EXPECT_FALSE(called);
    bool reused = false;
    for (int i = 0; i < 256; ++i) {
        reused = reused || requests.number() == seq;
    }
    EXPECT_TRUE(reused);
}

TEST(PendingRequestsTest, noNumberIsGivenTwiceWhileItsAnswerMayStillCome)
{
    uint8_t last = 0;
    PendingRequests requests(&last);
    for (int i = 1; i <= 255; ++i) {
        EXPECT_EQ(requests.numberUnwanted(), i);
    }
    EXPECT_FALSE(requests.numberUnwanted());
    EXPECT_FALSE(requests.number([](const WMsg*) {}));
    EXPECT_EQ(requests.number(), 0) << "what is not answered can be numbered still";
    EXPECT_EQ(requests.number(), 0);
    EXPECT_FALSE(requests.answer(answerTo(1)));
    EXPECT_EQ(requests.numberUnwanted(), 1);
    EXPECT_FALSE(requests.numberUnwanted());
}

TEST(PendingRequestsTest, anAnswerFreesTheNumbersGivenUpBeforeIt)
{
    uint8_t last = 0;
    PendingRequests requests(&last);
    for (int i = 1; i <= 254; ++i) {
        requests.numberUnwanted();
    }
    bool called = false;
    const uint8_t seq = *requests.number([&called](const WMsg*) { called = true; });
    EXPECT_TRUE(requests.answer(answerTo(seq)));
    EXPECT_TRUE(called);
    EXPECT_EQ(requests.numberUnwanted(), 0);
    EXPECT_EQ(requests.numberUnwanted(), 1);
}

TEST(PendingRequestsTest, anAnswerLeavesEarlierRequestsThatAreWaitedFor)
{
    uint8_t last = 0;
    PendingRequests requests(&last);
    int got = 0;
    const uint8_t first = *requests.number([&got](const WMsg*) { got += 1; });
    const uint8_t second = *requests.number([&got](const WMsg*) { got += 10; });
    EXPECT_TRUE(requests.answer(answerTo(second)));
    EXPECT_TRUE(requests.answer(answerTo(first)));
    EXPECT_EQ(got, 11);
}

TEST(PendingRequestsTest, theEndOfTheConnectionEndsWhatIsWaitedFor)
{
    uint8_t last = 0;
    PendingRequests requests(&last);
    int ended = 0;
    requests.number([&ended](const WMsg* answer) { ended += answer == nullptr ? 1 : 100; });
    requests.giveUp(*requests.number([&ended](const WMsg*) { ended += 100; }));
    requests.failAll();
    EXPECT_EQ(ended, 1);
}

#include <gtest/gtest.h>

#include "server/pendingrequests.h"

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
    PendingRequests requests;
    for (int i = 1; i <= 300; ++i) {
        EXPECT_EQ(requests.number(), i % 256);
    }
}

TEST(PendingRequestsTest, anAnswerReachesItsRequestOnce)
{
    PendingRequests requests;
    int got = 0;
    const uint8_t seq = requests.number([&got](const WMsg* answer) { got += answer != nullptr ? 1 : 100; });
    EXPECT_TRUE(requests.answer(answerTo(seq)));
    EXPECT_FALSE(requests.answer(answerTo(seq)));
    EXPECT_EQ(got, 1);
    EXPECT_EQ(requests.dropped(), 1U);
}

TEST(PendingRequestsTest, aNumberIsNotReusedWhileItsRequestIsOutstanding)
{
    PendingRequests requests;
    const uint8_t seq = requests.number([](const WMsg*) {});
    for (int i = 0; i < 600; ++i) {
        EXPECT_NE(requests.number(), seq);
    }
}

TEST(PendingRequestsTest, anAnswerAfterGivingUpIsDroppedAndFreesTheNumber)
{
    PendingRequests requests;
    bool called = false;
    const uint8_t seq = requests.number([&called](const WMsg*) { called = true; });
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

TEST(PendingRequestsTest, whenAllNumbersAreGivenUpTheOldestIsReused)
{
    PendingRequests requests;
    for (int i = 0; i < 256; ++i) {
        requests.numberUnwanted();
    }
    EXPECT_EQ(requests.number(), 1);
    EXPECT_EQ(requests.numberUnwanted(), 1);
    EXPECT_EQ(requests.numberUnwanted(), 2);
}

TEST(PendingRequestsTest, theEndOfTheConnectionEndsWhatIsWaitedFor)
{
    PendingRequests requests;
    int ended = 0;
    requests.number([&ended](const WMsg* answer) { ended += answer == nullptr ? 1 : 100; });
    requests.giveUp(requests.number([&ended](const WMsg*) { ended += 100; }));
    requests.failAll();
    EXPECT_EQ(ended, 1);
}

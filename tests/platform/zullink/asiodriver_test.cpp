// What waits to be sent to a peer that does not read.

#include <gtest/gtest.h>

#include "hexbytes.h"
#include "loopeddriver.h"

namespace {

WMsg messageOf(size_t payload)
{
    WMsg message;
    message.type = 3;
    message.payload.resize(payload);
    return message;
}

} // namespace

TEST(OutgoingTest, whatHasBeenSentNoLongerCounts)
{
    LinkSession::Settings settings{sLinkLimits(), false};
    settings.queueBytes = 1000;
    LoopedDriver looped(settings);
    for (int i = 0; i < 100; ++i) {
        looped.send(messageOf(900));
        looped.turn();
    }
    EXPECT_EQ(looped.reason(), "");
}

TEST(OutgoingTest, aPeerThatNeverReadsIsDropped)
{
    LinkSession::Settings settings{sLinkLimits(), false};
    settings.queueBytes = 100000;
    LoopedDriver looped(settings);
    // The system takes some megabytes first.
    size_t sent = 0;
    for (; looped.reason().empty() && sent < 100000; ++sent) {
        looped.send(messageOf(20000));
        looped.turn();
    }
    EXPECT_EQ(looped.reason(), "it does not read what is sent to it");
}

TEST(OutgoingTest, pingsOfAPeerThatDoesNotReadFillNoQueue)
{
    LinkSession::Settings settings{sLinkLimits(), false};
    settings.queueBytes = 8192;
    LoopedDriver looped(settings);
    std::vector<uint8_t> pings;
    for (int i = 0; i < 1000000; ++i) {
        WMsg::ping(false).appendFrames(pings);
    }
    EXPECT_TRUE(looped.feed(pings)) << looped.reason();
    looped.send(messageOf(100));
    looped.turn();
    EXPECT_EQ(looped.reason(), "") << "there is room for a message still";
}

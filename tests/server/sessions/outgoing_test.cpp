// What waits to be sent to a peer that does not read.

#include <gtest/gtest.h>

#include "hexbytes.h"
#include "loopedconnection.h"

namespace {

WMsg messageOf(size_t payload)
{
    WMsg message;
    message.type = 3;
    message.payload.resize(payload);
    return message;
}

} // namespace

TEST(OutgoingTest, holdsAsManyBytesAsPermitted)
{
    constexpr size_t kHeader = 16;
    for (const size_t size : {999U, 1000U, 1001U}) {
        SCOPED_TRACE(size);
        server::LinkSettings settings;
        settings.queueBytes = 1000;
        LoopedConnection looped(settings);
        // Nothing counts as sent before the loop has turned.
        looped.connection().send(messageOf(500 - kHeader));
        looped.connection().send(messageOf(size - 500 - kHeader));
        looped.turn();
        EXPECT_EQ(looped.reason(), size <= 1000 ? "" : "it does not read what is sent to it");
    }
}

TEST(OutgoingTest, whatHasBeenSentNoLongerCounts)
{
    server::LinkSettings settings;
    settings.queueBytes = 1000;
    LoopedConnection looped(settings);
    for (int i = 0; i < 100; ++i) {
        looped.connection().send(messageOf(900));
        looped.turn();
    }
    EXPECT_EQ(looped.reason(), "");
}

TEST(OutgoingTest, aPeerThatNeverReadsIsDropped)
{
    server::LinkSettings settings;
    settings.queueBytes = 100000;
    LoopedConnection looped(settings);
    // The system takes some megabytes first.
    size_t sent = 0;
    for (; looped.reason().empty() && sent < 100000; ++sent) {
        looped.connection().send(messageOf(20000));
        looped.turn();
    }
    EXPECT_EQ(looped.reason(), "it does not read what is sent to it");
}

TEST(OutgoingTest, pingsOfAPeerThatDoesNotReadFillNoQueue)
{
    server::LinkSettings settings;
    settings.queueBytes = 8192;
    LoopedConnection looped(settings);
    std::vector<uint8_t> pings;
    for (int i = 0; i < 1000000; ++i) {
        WMsg::ping(false).appendFrames(pings);
    }
    EXPECT_TRUE(looped.feed(pings)) << looped.reason();
    looped.connection().send(messageOf(100));
    looped.turn();
    EXPECT_EQ(looped.reason(), "") << "there is room for a message still";
}

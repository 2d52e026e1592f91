#include "plainconversation.h"

#include <gtest/gtest.h>

#include <sstream>

TEST(Conversation, aDeviceWithoutAWindowSendsTheRecordedBytes)
{
    const Conversation conversation(CONVERSATION);
    ASSERT_GT(conversation.size(), 100U);
    std::ostringstream trace;
    PlainConversation device(conversation, trace);
    EXPECT_EQ(conversation.playTo(&device), "");
}

TEST(Conversation, aDifferentDeviceIsTold)
{
    const Conversation conversation(CONVERSATION);
    std::ostringstream trace;
    PlainConversation device(conversation, trace);
    device.setDigitalInput(2, 1);
    device.next();
    EXPECT_NE(conversation.playTo(&device), "");
}

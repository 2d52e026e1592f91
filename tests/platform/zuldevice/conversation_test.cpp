#include "plainconversation.h"

#include <gtest/gtest.h>

TEST(Conversation, aDeviceWithoutAWindowSendsTheRecordedBytes)
{
    const Conversation conversation(CONVERSATION);
    ASSERT_GT(conversation.size(), 100U);
    PlainConversation device(conversation);
    EXPECT_EQ(conversation.playTo(&device), "");
}

TEST(Conversation, aDifferentDeviceIsTold)
{
    const Conversation conversation(CONVERSATION);
    PlainConversation device(conversation);
    device.setDigitalInput(2, 1);
    device.next();
    EXPECT_NE(conversation.playTo(&device), "");
}

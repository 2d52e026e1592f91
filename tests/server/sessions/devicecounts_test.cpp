// How many devices there are, and what they do a second.

#include <gtest/gtest.h>
#include <string>

#include "serveddevice.h"
#include "zulobj/objectlist.h"

namespace {

double rateOf(const zulcommand::JsonPtr& reply, const char* name)
{
    const json_t* rate = json_object_get(reply.get(), name);
    EXPECT_TRUE(json_is_real(rate)) << name;
    return json_real_value(rate);
}

/// Asks until the second in which something happened is over.
double firstRate(LocalServer* server, const char* name)
{
    double rate = 0.0;
    for (int i = 0; rate == 0.0 && i < 1000; ++i) {
        server->reply("sleep 0.02");
        rate = rateOf(server->reply("devices"), name);
    }
    return rate;
}

} // namespace

TEST(DeviceCountsTest, connectionsAndDevicesAreCounted)
{
    LocalServer server;
    zulcommand::JsonPtr reply = server.reply("devices");
    EXPECT_EQ(member(reply, "status"), "ok");
    EXPECT_EQ(member(reply, "connected"), "0");
    EXPECT_EQ(member(reply, "identified"), "0");
    EXPECT_EQ(rateOf(reply, "connectsPerSecond"), 0.0);
    EXPECT_EQ(rateOf(reply, "messagesPerSecond"), 0.0);

    RawDevice first = deviceAt(&server, 1);
    RawDevice second = deviceAt(&server, 1);
    RawDevice unknown(server.port());
    server.lines().next("connected");
    reply = server.reply("devices");
    EXPECT_EQ(member(reply, "connected"), "3");
    EXPECT_EQ(member(reply, "identified"), "2");
    EXPECT_EQ(member(reply, "msgType"), "null");
    EXPECT_EQ(objectCount(reply), 0U);

    second.disconnect();
    server.lines().next("disconnected");
    reply = server.reply("devices");
    EXPECT_EQ(member(reply, "connected"), "2");
    EXPECT_EQ(member(reply, "identified"), "1");
}

TEST(DeviceCountsTest, connectsAreCountedBySecond)
{
    LocalServer server;
    const RawDevice first = deviceAt(&server, 1);
    EXPECT_GE(firstRate(&server, "connectsPerSecond"), 0.2);
}

TEST_F(ServedDeviceTest, messagesAreCountedBySecondAndAnswersAreNot)
{
    mServer.type("get device");
    mDevice.answer(mDevice.receive(), {});
    mServer.lines().next("reply");
    EXPECT_GE(firstRate(&mServer, "connectsPerSecond"), 0.2);
    EXPECT_EQ(rateOf(mServer.reply("devices"), "messagesPerSecond"), 0.0);
    mDevice.send(inputEvent(1));
    mServer.lines().next("message");
    EXPECT_GE(firstRate(&mServer, "messagesPerSecond"), 0.2);
}

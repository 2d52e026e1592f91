// A good device beside many bad ones, and lines that fall silent.

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "badline.h"
#include "hexbytes.h"
#include "localserver.h"
#include "objdevice.h"
#include "rawdevice.h"

namespace {

constexpr size_t kCrowd = 200;

std::vector<std::unique_ptr<RawDevice>> crowdAt(uint16_t port)
{
    std::vector<std::unique_ptr<RawDevice>> crowd;
    for (size_t i = 0; i < kCrowd; ++i) {
        crowd.push_back(std::make_unique<RawDevice>(port));
    }
    return crowd;
}

} // namespace

TEST(BadPeersTest, aGoodDeviceIsServedBetweenTheSingleBytesOfManyOthers)
{
    LocalServer server;
    ObjDevice good(1);
    ASSERT_TRUE(good.connectTo(server.port()));
    server.lines().next("device");
    const std::vector<std::unique_ptr<RawDevice>> crowd = crowdAt(server.port());
    for (size_t i = 0; i < kCrowd; ++i) {
        server.lines().next("connected");
    }
    const std::vector<uint8_t> message = framesOf(inputEvent(5));
    for (const uint8_t byte : message) {
        for (const std::unique_ptr<RawDevice>& slow : crowd) {
            slow->sendBytes({byte});
        }
        server.type("get din 2");
        const zulcommand::JsonPtr reply = server.lines().next();
        ASSERT_EQ(member(reply, "event"), "reply") << "nothing else happens meanwhile";
        ASSERT_EQ(object(reply, 0, "portId"), "2");
    }
    // Slow as they are, their messages are complete by now.
    crowd.back()->identify(4711);
    EXPECT_EQ(member(server.lines().next("device"), "deviceSerial"), "4711");
    EXPECT_EQ(object(server.lines().next("message"), 0, "portId"), "5");
}

TEST(BadPeersTest, aLineThatFallsSilentIsLeftByBothEndsAndTheDeviceComesBack)
{
    server::LinkSettings serverSettings;
    serverSettings.link.pingAfterMs = 100;
    serverSettings.link.giveUpAfterMs = 2000;
    cObjectClient::Settings clientSettings;
    clientSettings.pingAfterMs = 100;
    clientSettings.giveUpAfterMs = 2000;
    clientSettings.firstPauseMs = 1;
    LocalServer server(serverSettings);
    BadLine line(server.port());
    ObjDevice device(7, clientSettings);
    ASSERT_TRUE(device.connectTo(line.port()));
    EXPECT_EQ(member(server.lines().next("device"), "deviceSerial"), "7");
    line.command(proxy::eFault::SILENCE);
    // Each end finds out by itself, the device on a new connection and the server about the old one.
    bool back = false;
    std::string reason;
    while (!back || reason.empty()) {
        const zulcommand::JsonPtr event = server.lines().next();
        ASSERT_TRUE(event);
        back = back || member(event, "event") == "device";
        if (member(event, "event") == "disconnected") {
            reason = member(event, "reason");
        }
    }
    EXPECT_EQ(reason, "it is silent");
    EXPECT_EQ(object(server.reply("get din 2"), 0, "portId"), "2");
    EXPECT_EQ(line.counts().connections, 2U);
}

TEST(BadPeersTest, manySilentPeersAreDroppedAndTheGoodOneStays)
{
    server::LinkSettings settings;
    settings.link.pingAfterMs = 100;
    settings.link.giveUpAfterMs = 2000;
    LocalServer server(settings);
    ObjDevice good(1);
    ASSERT_TRUE(good.connectTo(server.port()));
    server.lines().next("device");
    const std::vector<std::unique_ptr<RawDevice>> crowd = crowdAt(server.port());
    for (size_t i = 0; i < kCrowd; ++i) {
        const zulcommand::JsonPtr line = server.lines().next("disconnected");
        ASSERT_EQ(member(line, "reason"), "it is silent");
        ASSERT_EQ(member(line, "deviceSerial"), "null");
    }
    EXPECT_EQ(object(server.reply("get din 2"), 0, "portId"), "2");
}

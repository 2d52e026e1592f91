// Lines that are left out.

#include <gtest/gtest.h>
#include <string>

#include "serveddevice.h"
#include "server/io/jsonline.h"
#include "zulobj/objectlist.h"

namespace {

/// The options with which lines of these events are left out.
server::Options without(std::vector<std::string> events)
{
    server::Options options;
    options.quiet = std::move(events);
    return options;
}

} // namespace

TEST(QuietTest, theLinesOfTheEventAreLeftOut)
{
    LocalServer server({}, without({"connected", "device"}));
    RawDevice device(server.port());
    device.identify(1);
    device.send(inputEvent(7));
    EXPECT_EQ(member(server.lines().next(), "event"), "message");
    device.disconnect();
    EXPECT_EQ(member(server.lines().next(), "event"), "disconnected");
}

TEST(QuietTest, whatWaitsForAnEventStillSeesIt)
{
    LocalServer server({}, without({"message", "disconnected"}));
    RawDevice device = deviceAt(&server, 1);
    for (const uint32_t port : {7, 8, 9}) {
        device.send(inputEvent(port));
    }
    server.type(
        "wait event\nexpect event OBJ_PORT_DIN portId=9\nexpect event portId=1 OBJ_PORT_DIN within=0.01");
    EXPECT_EQ(object(server.lines().next(), 0, "portId"), "7");
    EXPECT_EQ(object(server.lines().next(), 0, "portId"), "9");
    const zulcommand::JsonPtr missed = server.lines().next();
    EXPECT_EQ(json_array_size(json_object_get(missed.get(), "came")), 1U);
    device.disconnect();
    EXPECT_EQ(member(server.reply("wait disconnected device=1"), "status"), "ok");
}

TEST(QuietTest, messagesThatAreLeftOutAreCounted)
{
    server::Options options = without({"message"});
    options.count = 2;
    LocalServer server({}, options);
    RawDevice device = deviceAt(&server, 1);
    device.send(inputEvent(1));
    device.send(inputEvent(2));
    EXPECT_EQ(server.wait(), 0);
}

TEST(QuietTest, answersOfAllDevicesMayBeLeftOut)
{
    LocalServer server({}, without({"answer"}));
    RawDevice device = deviceAt(&server, 1);
    server.type("get device device=*");
    device.answer(device.receive(), {});
    const zulcommand::JsonPtr reply = server.lines().next();
    EXPECT_EQ(member(reply, "event"), "reply");
    EXPECT_EQ(member(reply, "status"), "ok");
}

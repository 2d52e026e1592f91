// What the link does with peers that behave well, badly or not at all.

#include <atomic>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "hexbytes.h"
#include "serveddevice.h"
#include "zulobj/device.h"
#include "zulobj/dinput.h"
#include "zulobj/objectlist.h"

namespace {

/// The device stays well while another one misbehaves.
class ConnectionTest : public ServedDeviceTest
{
protected:
    void expectOthersGoOn()
    {
        mDevice.send(inputEvent(77));
        const zulcommand::JsonPtr message = mServer.lines().next("message");
        EXPECT_EQ(object(message, 0, "portId"), "77");
    }

    std::string reasonOfNextEnd() { return member(mServer.lines().next("disconnected"), "reason"); }
};

server::LinkSettings impatient()
{
    server::LinkSettings settings;
    settings.link.pingAfterMs = 20;
    settings.link.giveUpAfterMs = 200;
    return settings;
}

} // namespace

struct Damage
{
    const char* name;
    size_t at;
    uint8_t value;
    const char* reason;
};

void PrintTo(const Damage& row, std::ostream* out) { *out << row.name; }

class DamageTest : public ConnectionTest, public testing::WithParamInterface<Damage>
{};

TEST_P(DamageTest, closesThatConnectionOnly)
{
    RawDevice bad = deviceAt(&mServer, 2);
    std::vector<uint8_t> bytes = framesOf(inputEvent(5));
    bytes[GetParam().at] = GetParam().value;
    bad.sendBytes(bytes);
    const zulcommand::JsonPtr line = mServer.lines().next();
    EXPECT_EQ(member(line, "event"), "disconnected");
    EXPECT_EQ(member(line, "peer"), bad.peer());
    EXPECT_EQ(member(line, "deviceSerial"), "2");
    EXPECT_EQ(member(line, "reason"), std::string("it sent broken bytes: ") + GetParam().reason);
    bad.waitForEnd();
    expectOthersGoOn();
}

INSTANTIATE_TEST_SUITE_P(all, DamageTest,
                         testing::Values(Damage{"magic", 0, 'G', "magic: is not that of a message"},
                                         Damage{"version", 2, 9, "protocol version: is not known"},
                                         Damage{"flags", 3, 0xF0, "flags: are not all known"},
                                         Damage{"fourGigabytes", 8, 0xFF,
                                                "payload length: is more than a segment holds"},
                                         Damage{"payload", 20, 0xEE, "checksum: does not fit the segment"}),
                         [](const testing::TestParamInfo<Damage>& row) { return row.param.name; });

TEST_F(ConnectionTest, garbageBeforeAnythingElse)
{
    RawDevice bad(mServer.port());
    const std::string text = "GET / HTTP/1.1\r\nHost: localhost\r\n\r\n";
    bad.sendBytes({text.begin(), text.end()});
    const zulcommand::JsonPtr line = mServer.lines().next("disconnected");
    EXPECT_EQ(member(line, "deviceSerial"), "null");
    EXPECT_EQ(member(line, "reason"), "it sent broken bytes: magic: is not that of a message");
    expectOthersGoOn();
}

TEST_F(ConnectionTest, halfAMessageAndTheEnd)
{
    RawDevice bad(mServer.port());
    std::vector<uint8_t> bytes = framesOf(inputEvent(5));
    bytes.resize(bytes.size() / 2);
    // Closed with the server's question unread, a socket resets the connection instead of ending it.
    bad.receive();
    bad.sendBytes(bytes);
    bad.disconnect();
    EXPECT_EQ(reasonOfNextEnd(), "the peer closed the connection");
    expectOthersGoOn();
}

TEST_F(ConnectionTest, aMessageInOddPieces)
{
    const std::vector<uint8_t> bytes = framesOf(inputEvent(5));
    for (const uint8_t byte : bytes) {
        mDevice.sendBytes({byte});
    }
    EXPECT_EQ(object(mServer.lines().next("message"), 0, "portId"), "5");
}

TEST_F(ConnectionTest, aMalformedPayloadIsReportedAndTheConnectionGoesOn)
{
    WMsg message = inputEvent(5);
    message.payload.resize(message.payload.size() - 1);
    mDevice.send(message);
    std::string report;
    ASSERT_TRUE(mServer.errors().nextText(&report));
    EXPECT_EQ(report.rfind("zulserver: " + mDevice.peer() + ": A message of type 3 was not understood: ", 0),
              0U)
        << report;
    mDevice.send(inputEvent(6));
    EXPECT_EQ(object(mServer.lines().next(), 0, "portId"), "6");
}

TEST_F(ConnectionTest, everyTypeArrivesAsItWasSent)
{
    for (int type = 0; type < 256; ++type) {
        WMsg message = messageOf(static_cast<uint8_t>(type), {});
        message.seq = static_cast<uint8_t>(type + 1);
        mDevice.send(message);
        const zulcommand::JsonPtr line = mServer.lines().next();
        EXPECT_EQ(member(line, "msgType"), std::to_string(type));
        EXPECT_EQ(member(line, "msgSeq"), std::to_string((type + 1) % 256));
        EXPECT_EQ(objectCount(line), 0U);
    }
}

TEST_F(ConnectionTest, anUnknownObjectKeepsItsCode)
{
    const cObject unknown(static_cast<eObjectTypes>(4000000000U));
    mDevice.send(messageOf(3, {&unknown}));
    EXPECT_EQ(object(mServer.lines().next("message"), 0, "type"), "4000000000");
}

TEST_F(ConnectionTest, aPingIsAnswered)
{
    mDevice.send(WMsg::ping(false));
    mDevice.waitForPing();
}

TEST(ConnectionTimesTest, aSilentPeerIsPingedAndThenDropped)
{
    LocalServer server(impatient());
    RawDevice device = deviceAt(&server, 1);
    device.waitForPing();
    EXPECT_EQ(member(server.lines().next("disconnected"), "reason"), "it is silent");
    EXPECT_EQ(device.pings(), 1);
}

TEST(ConnectionTimesTest, anIdlePeerThatAnswersPingsStays)
{
    server::LinkSettings settings = impatient();
    settings.link.giveUpAfterMs = 1000000;
    LocalServer server(settings);
    RawDevice device(server.port());
    device.identify(1);
    for (int i = 0; i < 3; ++i) {
        device.waitForPing();
        device.send(WMsg::ping(true));
    }
    device.send(inputEvent(5));
    server.lines().next("device");
    EXPECT_EQ(member(server.lines().next(), "event"), "message");
}

TEST(ConnectionTimesTest, pingsDoNotCount)
{
    server::LinkSettings settings = impatient();
    settings.link.giveUpAfterMs = 1000000;
    LocalServer server(settings);
    RawDevice device = deviceAt(&server, 1);
    device.waitForPing();
    server.type("send type=9");
    EXPECT_EQ(device.receive().seq, 2);
}

TEST(ConnectionTimesTest, aPeerThatNeverReadsIsDropped)
{
    server::LinkSettings settings;
    settings.link.giveUpAfterMs = 2000;
    LocalServer server(settings);
    RawDevice device = deviceAt(&server, 1);
    // Each ping asks for an answer that nobody reads.
    std::vector<uint8_t> pings;
    for (int i = 0; i < 100000; ++i) {
        WMsg::ping(false).appendFrames(pings);
    }
    std::atomic<bool> over{false};
    std::thread flood([&] {
        while (!over) {
            device.sendBytes(pings);
        }
    });
    EXPECT_EQ(member(server.lines().next("disconnected"), "reason"), "it does not read what is sent to it");
    over = true;
    flood.join();
}

TEST(IdentifyTest, messagesAreHeldUntilTheDeviceLine)
{
    LocalServer server;
    RawDevice device(server.port());
    for (uint32_t port = 1; port <= 3; ++port) {
        device.send(inputEvent(port));
    }
    device.identify(42);
    device.send(inputEvent(4));
    EXPECT_EQ(member(server.lines().next(), "event"), "connected");
    const zulcommand::JsonPtr line = server.lines().next();
    EXPECT_EQ(member(line, "event"), "device");
    EXPECT_EQ(member(line, "peer"), device.peer());
    EXPECT_EQ(member(line, "deviceSerial"), "42");
    EXPECT_EQ(member(line, "type"), "(none)");
    for (uint32_t port = 1; port <= 4; ++port) {
        const zulcommand::JsonPtr message = server.lines().next();
        EXPECT_EQ(member(message, "event"), "message");
        EXPECT_EQ(member(message, "deviceSerial"), "42");
        EXPECT_EQ(object(message, 0, "portId"), std::to_string(port));
    }
}

TEST(IdentifyTest, theDeviceIsAskedAtOnce)
{
    LocalServer server;
    RawDevice device(server.port());
    const WMsg question = device.receive();
    EXPECT_EQ(question.type, cObjectList::kRequest);
    EXPECT_EQ(question.seq, 1);
    EXPECT_FALSE(question.answer);
    cObjectList list;
    ASSERT_TRUE(list.decode(question).isOk());
    ASSERT_EQ(list.size(), 1U);
    const auto* asked = dynamic_cast<cObjectDevice*>(list.first());
    ASSERT_NE(asked, nullptr);
    EXPECT_EQ(asked->getDeviceSerial(), cObject::kWildcard);
}

TEST(IdentifyTest, anEmptyAnswerIsAskedAgainAFewTimes)
{
    server::LinkSettings settings;
    settings.askAgainMs = 1;
    LocalServer server(settings);
    RawDevice device(server.port());
    const cObject other(OBJ_MSG_INFO);
    for (int asked = 1; asked <= settings.askAttempts; ++asked) {
        const WMsg question = device.receive();
        EXPECT_EQ(question.seq, asked);
        device.answer(question, {&other});
    }
    const zulcommand::JsonPtr line = server.lines().next("disconnected");
    EXPECT_EQ(member(line, "reason"), "it does not say which device it is");
    EXPECT_EQ(member(line, "deviceSerial"), "null");
}

TEST(IdentifyTest, aLateRecordIsTaken)
{
    server::LinkSettings settings;
    settings.askAgainMs = 1;
    LocalServer server(settings);
    RawDevice device(server.port());
    device.answer(device.receive(), {});
    device.identify(8);
    EXPECT_EQ(member(server.lines().next("device"), "deviceSerial"), "8");
}

TEST(IdentifyTest, aClientThatNeverSaysIsDropped)
{
    server::LinkSettings settings;
    settings.identifyMs = 20;
    LocalServer server(settings);
    RawDevice device(server.port());
    EXPECT_EQ(member(server.lines().next("disconnected"), "reason"), "it does not say which device it is");
}

TEST(IdentifyTest, exactlyAsMuchAsPermittedIsHeld)
{
    const server::LinkSettings defaults;
    const size_t three = 3 * (inputEvent(1).payload.size() + defaults.heldMessageOverhead);
    for (const size_t bound : {three - 1, three, three + 1}) {
        SCOPED_TRACE(bound);
        server::LinkSettings settings;
        settings.heldBytes = bound;
        LocalServer server(settings);
        RawDevice device(server.port());
        const WMsg question = device.receive();
        for (uint32_t port = 1; port <= 3; ++port) {
            device.send(inputEvent(port));
        }
        cObjectDevice record;
        device.answer(question, {&record});
        server.lines().next("connected");
        EXPECT_EQ(member(server.lines().next(), "event"), bound < three ? "disconnected" : "device");
    }
}

TEST(IdentifyTest, aClientThatTalksTooMuchBeforeIsDropped)
{
    server::LinkSettings settings;
    settings.heldBytes = 1000;
    LocalServer server(settings);
    RawDevice device(server.port());
    for (uint32_t port = 1; port <= 20; ++port) {
        device.send(inputEvent(port));
    }
    EXPECT_EQ(member(server.lines().next("disconnected"), "reason"),
              "it sends too much before it says which device it is");
}

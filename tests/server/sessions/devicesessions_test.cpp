// The commands, against devices in the same process.

#include <gtest/gtest.h>
#include <string>

#include "objdevice.h"
#include "serveddevice.h"
#include "zulobj/adhoc.h"
#include "zulobj/dinput.h"
#include "zulobj/objectlist.h"

namespace {

std::string statusOf(const zulcommand::JsonPtr& reply) { return member(reply, "status"); }

/// Expects an error with this sentence, and that nothing came from a device.
void expectError(const zulcommand::JsonPtr& reply, const std::string& sentence)
{
    EXPECT_EQ(statusOf(reply), "error");
    EXPECT_EQ(member(reply, "error"), sentence);
    EXPECT_EQ(member(reply, "msgType"), "null");
    EXPECT_EQ(objectCount(reply), 0U);
}

} // namespace

TEST(MonitorTest, aDeviceOnTheLibrarysClient)
{
    LocalServer server;
    ObjDevice device(4711);
    ASSERT_TRUE(device.connectTo(server.port()));
    EXPECT_EQ(member(server.lines().next(), "event"), "connected");
    const zulcommand::JsonPtr line = server.lines().next();
    EXPECT_EQ(member(line, "event"), "device");
    EXPECT_EQ(member(line, "deviceLabel"), "Shelter 7");

    zulcommand::JsonPtr reply = server.reply("  get din * ");
    EXPECT_EQ(member(reply, "command"), "get din *");
    EXPECT_EQ(statusOf(reply), "ok");
    EXPECT_EQ(member(reply, "msgType"), "1");
    ASSERT_EQ(objectCount(reply), 2U);
    EXPECT_EQ(object(reply, 1, "portId"), "2");
    EXPECT_EQ(object(reply, 1, "inputState"), "OBJ_IO_STATE_SET");
    EXPECT_EQ(member(reply, "error"), "(none)");

    reply = server.reply("set din 1 default=low");
    EXPECT_EQ(statusOf(reply), "ok");
    EXPECT_EQ(member(reply, "msgType"), "0");
    EXPECT_EQ(objectCount(reply), 0U);

    cObjectList event;
    event.setMsgType(cObjectList::kEvent);
    event.add(new cObjectAdhocEvent);
    device.client().send(&event);
    EXPECT_EQ(object(server.reply("wait event OBJ_ADHOC_EVENT"), 0, "type"), "OBJ_ADHOC_EVENT");
}

TEST(MonitorTest, threeHundredRequestsInARow)
{
    LocalServer server;
    ObjDevice device(1);
    ASSERT_TRUE(device.connectTo(server.port()));
    server.lines().next("device");
    for (int i = 0; i < 300; ++i) {
        server.type("get din " + std::to_string(1 + i % 2));
    }
    for (int i = 0; i < 300; ++i) {
        const zulcommand::JsonPtr reply = server.lines().next("reply");
        ASSERT_EQ(statusOf(reply), "ok");
        ASSERT_EQ(object(reply, 0, "portId"), std::to_string(1 + i % 2));
    }
}

TEST(MonitorTest, aNewConnectionDoesNotStartTheCountAgain)
{
    LocalServer server;
    for (const uint8_t number : {1, 2, 3}) {
        RawDevice device(server.port());
        const WMsg question = device.receive();
        EXPECT_EQ(question.seq, number);
        device.disconnect();
        server.lines().next("disconnected");
    }
}

TEST_F(ServedDeviceTest, sequenceNumbersWrapFrom255To0)
{
    for (int i = 2; i <= 301; ++i) {
        mServer.type("get device");
        const WMsg request = mDevice.receive();
        ASSERT_EQ(request.seq, i % 256);
        mDevice.answer(request, {});
        ASSERT_EQ(statusOf(mServer.lines().next("reply")), "ok");
    }
}

TEST(MonitorTest, noDeviceAndSeveral)
{
    LocalServer server;
    expectError(server.reply("get device"), "No device is connected.");
    expectError(server.reply("send type=3"), "No device is connected.");
    RawDevice unknown(server.port());
    unknown.receive();
    expectError(server.reply("set ain 1"), "No device is connected.");

    RawDevice first = deviceAt(&server, 1);
    RawDevice second = deviceAt(&server, 2);
    expectError(server.reply("get din"), "Several devices are connected: pick one with device=SERIAL.");
    expectError(server.reply("get din device=3"), "No device with the serial 3 is connected.");

    server.type("get device device=2");
    second.answer(second.receive(), {});
    EXPECT_EQ(statusOf(server.lines().next("reply")), "ok");
    server.type("send type=77 device=0x1");
    EXPECT_EQ(first.receive().type, 77) << "nothing was sent before";
    EXPECT_EQ(statusOf(server.lines().next("reply")), "ok");
}

TEST(MonitorTest, twoDevicesWithOneSerialAreBothThere)
{
    LocalServer server;
    RawDevice first = deviceAt(&server, 5);
    RawDevice second = deviceAt(&server, 5);
    expectError(server.reply("get device device=5"), "Several devices with the serial 5 are connected.");
    first.disconnect();
    EXPECT_EQ(member(server.lines().next("disconnected"), "deviceSerial"), "5");
    server.type("get device device=5");
    second.answer(second.receive(), {});
    EXPECT_EQ(statusOf(server.lines().next("reply")), "ok");
}

TEST_F(ServedDeviceTest, aBadCommandIsAnErrorAndSendsNothing)
{
    expectError(mServer.reply("get din 0"),
                "PORT is neither * nor a whole number from 1 to 4294967295: \"0\".");
    expectError(mServer.reply("frobnicate"), "There is no command \"frobnicate\".");
    mServer.type("send type=9");
    EXPECT_EQ(mDevice.receive().type, 9);
}

TEST(MonitorTest, aCommandSendsItsObject)
{
    LocalServer server;
    RawDevice device(server.port());
    device.identify(1);
    server.type("set din 7 default=high serial=3");
    const WMsg message = device.receive();
    EXPECT_EQ(message.type, cObjectList::kSet);
    EXPECT_FALSE(message.event);
    cObjectList list;
    ASSERT_TRUE(list.decode(message).isOk());
    const auto* input = dynamic_cast<cObjectDInput*>(list.first());
    ASSERT_NE(input, nullptr);
    EXPECT_EQ(input->getPortId(), 7U);
    EXPECT_EQ(input->getDeviceSerial(), 3U);
    EXPECT_EQ(input->getDefaultState(), cObject::OBJ_IO_STATE_SET);
}

TEST(MonitorTest, dropClosesTheConnectionOfItsDevice)
{
    LocalServer server;
    RawDevice first = deviceAt(&server, 1);
    RawDevice second = deviceAt(&server, 2);
    expectError(server.reply("drop device=3"), "No device with the serial 3 is connected.");

    server.type("drop device=1");
    const zulcommand::JsonPtr line = server.lines().next();
    EXPECT_EQ(member(line, "event"), "disconnected");
    EXPECT_EQ(member(line, "deviceSerial"), "1");
    EXPECT_EQ(member(line, "reason"), "it was dropped by a command");
    EXPECT_EQ(statusOf(server.lines().next()), "ok");
    first.waitForEnd();
    server.type("get device");
    second.answer(second.receive(), {});
    EXPECT_EQ(statusOf(server.lines().next("reply")), "ok");
}

TEST(MonitorTest, aConnectionThatEndedBeforeIsNotMissedAndTakenOnce)
{
    LocalServer server;
    RawDevice unknown(server.port());
    unknown.disconnect();
    server.lines().next("disconnected");
    for (const uint32_t serial : {5, 6}) {
        RawDevice device(server.port());
        device.identify(serial);
        server.lines().next("device");
        device.disconnect();
        server.lines().next("disconnected");
    }
    const zulcommand::JsonPtr reply = server.reply("wait disconnected device=6");
    EXPECT_EQ(statusOf(reply), "ok");
    EXPECT_EQ(member(reply, "msgType"), "null");
    EXPECT_EQ(object(reply, 0, "type"), "OBJ_DEVICE");
    EXPECT_EQ(object(reply, 0, "deviceSerial"), "6");
    EXPECT_EQ(objectCount(server.reply("wait disconnected")), 0U) << "this one never said who it is";
    EXPECT_EQ(object(server.reply("wait disconnected"), 0, "deviceSerial"), "5");
    const zulcommand::JsonPtr late = server.reply("wait disconnected timeout=0.01");
    EXPECT_EQ(statusOf(late), "timeout");
    EXPECT_EQ(member(late, "error"), "No such connection ended within 0.01 seconds.");
}

TEST(MonitorTest, aConnectionIsWaitedForUntilItEnds)
{
    LocalServer server;
    RawDevice device = deviceAt(&server, 5);
    server.type("wait disconnected device=5 timeout=30");
    device.disconnect();
    EXPECT_EQ(member(server.lines().next(), "event"), "disconnected");
    EXPECT_EQ(statusOf(server.lines().next()), "ok");
}

TEST(MonitorTest, forgetTakesTheConnectionsThatEnded)
{
    LocalServer server;
    RawDevice device(server.port());
    device.disconnect();
    server.lines().next("disconnected");
    server.reply("forget");
    EXPECT_EQ(statusOf(server.reply("wait disconnected timeout=0.01")), "timeout");
}

TEST_F(ServedDeviceTest, sendWaitsForNothingAndItsAnswerIsDropped)
{
    const zulcommand::JsonPtr reply = mServer.reply("send type=1");
    EXPECT_EQ(statusOf(reply), "ok");
    EXPECT_EQ(member(reply, "msgType"), "null");
    EXPECT_EQ(objectCount(reply), 0U);
    const WMsg sent = mDevice.receive();
    EXPECT_TRUE(sent.payload.empty());
    mDevice.answer(sent, {});
    mDevice.send(inputEvent(3));
    EXPECT_EQ(member(mServer.lines().next(), "event"), "message");
}

TEST_F(ServedDeviceTest, anEventIsSentAsOne)
{
    mServer.type("send type=3");
    EXPECT_TRUE(mDevice.receive().event);
}

TEST(MonitorTest, answersThatMatchNothingAreDropped)
{
    server::Options options;
    options.verbose = true;
    LocalServer server({}, options);
    RawDevice device = deviceAt(&server, 1);
    WMsg stray = inputEvent(1);
    stray.answer = true;
    stray.seq = 99;
    device.send(stray);
    std::string report;
    ASSERT_TRUE(server.errors().nextText(&report));
    EXPECT_NE(report.find("An answer was dropped as nobody waits for it, number 1 "), std::string::npos)
        << report;
    device.send(inputEvent(2));
    EXPECT_EQ(object(server.lines().next(), 0, "portId"), "2");
}

TEST_F(ServedDeviceTest, aLateAnswerDoesNotPairWithALaterRequest)
{
    const zulcommand::JsonPtr late = mServer.reply("get din 1 timeout=0.01");
    EXPECT_EQ(statusOf(late), "timeout");
    EXPECT_EQ(member(late, "error"), "The device did not answer within 0.01 seconds.");
    EXPECT_EQ(member(late, "msgType"), "null");
    const WMsg first = mDevice.receive();

    mServer.type("get din 2");
    const WMsg second = mDevice.receive();
    EXPECT_NE(first.seq, second.seq);
    cObjectDInput one;
    one.setPortId(1);
    cObjectDInput two;
    two.setPortId(2);
    mDevice.answer(first, {&one});
    mDevice.answer(second, {&two});
    const zulcommand::JsonPtr reply = mServer.lines().next();
    EXPECT_EQ(statusOf(reply), "ok");
    EXPECT_EQ(object(reply, 0, "portId"), "2");
}

TEST_F(ServedDeviceTest, aNumberWhoseAnswerIsLateIsNotReused)
{
    mServer.reply("get din 1 timeout=0.01");
    const uint8_t late = mDevice.receive().seq;
    for (int i = 0; i < 300; ++i) {
        mServer.type("send type=9");
        ASSERT_NE(mDevice.receive().seq, late);
    }
}

TEST_F(ServedDeviceTest, aDeviceThatLeaves255RequestsUnansweredIsAskedNothingMore)
{
    std::vector<WMsg> unanswered;
    for (size_t i = 0; i < LinkSession::kMaxOutstanding; ++i) {
        EXPECT_EQ(statusOf(mServer.reply("send type=1")), "ok");
        unanswered.push_back(mDevice.receive());
    }
    for (const char* command : {"get din 2", "set din 2 default=low", "send type=0"}) {
        expectError(mServer.reply(command), "The device has left 255 requests unanswered.");
    }
    EXPECT_EQ(statusOf(mServer.reply("send type=3")), "ok") << "an event is not answered";
    EXPECT_EQ(mDevice.receive().type, 3);

    // What comes at last belongs to the old requests, whatever is asked for next.
    mServer.type("get din 2 timeout=86400");
    expectError(mServer.lines().next("reply"), "The device has left 255 requests unanswered.");
    mDevice.answer(unanswered.front(), {});
    mDevice.send(inputEvent(1));
    mServer.lines().next("message");
    mServer.type("get din 2");
    cObjectDInput two;
    two.setPortId(2);
    for (size_t i = 1; i < unanswered.size(); ++i) {
        mDevice.answer(unanswered[i], {});
    }
    mDevice.answer(mDevice.receive(), {&two});
    EXPECT_EQ(object(mServer.lines().next("reply"), 0, "portId"), "2");
}

TEST_F(ServedDeviceTest, anAnswerThatIsNotUnderstoodIsAnError)
{
    mServer.type("get din 1");
    WMsg answer = mDevice.receive();
    answer.answer = true;
    answer.payload.assign(5, 0);
    mDevice.send(answer);
    const zulcommand::JsonPtr reply = mServer.lines().next();
    EXPECT_EQ(statusOf(reply), "error");
    EXPECT_EQ(member(reply, "error").rfind("The answer was not understood: ", 0), 0U);
}

TEST_F(ServedDeviceTest, aDeviceThatGoesAwayEndsItsCommand)
{
    mServer.type("get din 1 timeout=86400");
    mDevice.receive();
    mDevice.disconnect();
    EXPECT_EQ(member(mServer.lines().next(), "event"), "disconnected");
    expectError(mServer.lines().next(), "The device disconnected before it answered.");
}

TEST_F(ServedDeviceTest, repliesComeInTheOrderOfTheCommands)
{
    mServer.type("get din 1\nfoo\n\n# a comment\nsleep 0.01\nsend type=4");
    const WMsg request = mDevice.receive();
    mDevice.send(inputEvent(9));
    mDevice.answer(request, {});
    EXPECT_EQ(member(mServer.lines().next(), "event"), "message");
    for (const char* command : {"get din 1", "foo", "sleep 0.01", "send type=4"}) {
        EXPECT_EQ(member(mServer.lines().next(), "command"), command);
    }
}

TEST(MonitorTest, waitTakesEachMessageOnceAndTheEarlierOnesToo)
{
    LocalServer server;
    RawDevice device(server.port());
    device.identify(1);
    cObjectAdhocEvent adhoc;
    device.send(inputEvent(1));
    device.send(messageOf(200, {&adhoc}));
    device.send(inputEvent(2));
    for (int i = 0; i < 3; ++i) {
        server.lines().next("message");
    }
    EXPECT_EQ(member(server.reply("wait event OBJ_ADHOC_EVENT"), "msgType"), "200");
    zulcommand::JsonPtr reply = server.reply("wait event OBJ_PORT_DIN");
    EXPECT_EQ(member(reply, "msgType"), "3");
    EXPECT_EQ(object(reply, 0, "portId"), "1");
    EXPECT_EQ(object(server.reply("wait event"), 0, "portId"), "2");
    reply = server.reply("wait event timeout=0.01");
    EXPECT_EQ(statusOf(reply), "timeout");
    EXPECT_EQ(member(reply, "error"), "No such event came within 0.01 seconds.");
}

TEST(MonitorTest, waitWaitsForTheRightOne)
{
    LocalServer server;
    RawDevice first = deviceAt(&server, 1);
    RawDevice second = deviceAt(&server, 2);
    server.type("wait event OBJ_PORT_DIN device=2");
    first.send(inputEvent(11));
    server.lines().next("message");
    cObjectAdhocEvent adhoc;
    second.send(messageOf(3, {&adhoc}));
    server.lines().next("message");
    second.send(inputEvent(22));
    EXPECT_EQ(object(server.lines().next("reply"), 0, "portId"), "22");
    EXPECT_EQ(object(server.reply("wait event"), 0, "portId"), "11");
}

TEST(MonitorTest, waitDevice)
{
    LocalServer server;
    EXPECT_EQ(member(server.reply("wait device timeout=0.01"), "error"),
              "No such device came within 0.01 seconds.");
    server.type("wait device");
    RawDevice first(server.port());
    first.identify(1);
    zulcommand::JsonPtr reply = server.lines().next("reply");
    EXPECT_EQ(statusOf(reply), "ok");
    EXPECT_EQ(member(reply, "msgType"), "null");
    EXPECT_EQ(object(reply, 0, "deviceSerial"), "1");
    EXPECT_EQ(statusOf(server.reply("wait device")), "ok");

    server.type("wait device device=2");
    RawDevice second(server.port());
    second.identify(2);
    reply = server.lines().next("reply");
    EXPECT_EQ(object(reply, 0, "deviceSerial"), "2");
}

TEST(MonitorTest, helpSpeaksOnTheErrorStream)
{
    LocalServer server;
    EXPECT_EQ(statusOf(server.reply("help")), "ok");
    std::string line;
    ASSERT_TRUE(server.errors().nextText(&line));
    EXPECT_EQ(line, "get device|capability [serial=N]");
}

TEST(MonitorTest, quitEndsWithTheStatusSoFar)
{
    LocalServer good;
    EXPECT_EQ(statusOf(good.reply("quit")), "ok");
    EXPECT_EQ(good.wait(), 0);
    LocalServer bad;
    bad.type("foo\nquit\nsleep 1");
    bad.lines().next("reply");
    EXPECT_EQ(member(bad.lines().next("reply"), "command"), "quit");
    EXPECT_EQ(bad.wait(), 2);
    LocalServer late;
    late.type("wait device timeout=0.01\nfoo\nquit");
    EXPECT_EQ(late.wait(), 3);
}

TEST(MonitorTest, aLineThatNeverEndsIsOneError)
{
    LocalServer server;
    server.type("get " + std::string(20000, 'x'));
    expectError(server.lines().next(), "The command is longer than 4096 bytes.");
    EXPECT_EQ(statusOf(server.reply("sleep 0")), "ok");
}

TEST_F(ServedDeviceTest, aThousandPortsInOneAnswer)
{
    mServer.type("get din *");
    const WMsg request = mDevice.receive();
    cObjectList list;
    list.setMsgType(cObjectList::kRequest);
    for (uint32_t port = 1; port <= 1000; ++port) {
        auto* input = new cObjectDInput;
        input->setPortId(port);
        input->setPortLabel("A door of the shelter");
        list.add(input);
    }
    WMsg answer;
    ASSERT_TRUE(list.encode(&answer).isOk());
    answer.answer = true;
    answer.seq = request.seq;
    mDevice.send(answer);
    const zulcommand::JsonPtr reply = mServer.lines().next();
    EXPECT_EQ(objectCount(reply), 1000U);
    EXPECT_EQ(object(reply, 999, "portId"), "1000");
}

TEST_F(ServedDeviceTest, nothingIsLostWhenTheReaderIsSlow)
{
    // Far more than a pipe and the output's own bound hold, so the device is made to wait.
    constexpr uint32_t kMessages = 60000;
    std::thread sender([this] {
        for (uint32_t port = 1; port <= kMessages; ++port) {
            mDevice.send(inputEvent(port));
        }
    });
    for (uint32_t port = 1; port <= kMessages; ++port) {
        const zulcommand::JsonPtr line = mServer.lines().next();
        if (object(line, 0, "portId") != std::to_string(port)) {
            ADD_FAILURE() << "expected port " << port;
            break;
        }
    }
    sender.join();
}

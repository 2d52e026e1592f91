// Commands to all devices at the same time: device=*.

#include <gtest/gtest.h>
#include <list>
#include <string>

#include "serveddevice.h"
#include "zulobj/dinput.h"
#include "zulobj/objectlist.h"

namespace {

/// The tally of @p reply as "asked answered timeout error".
std::string tallyOf(const zulcommand::JsonPtr& reply)
{
    json_t* tally = json_object_get(reply.get(), "tally");
    std::string text;
    for (const char* name : {"asked", "answered", "timeout", "error"}) {
        const json_t* number = json_object_get(tally, name);
        text += (text.empty() ? "" : " ") +
                (json_is_integer(number) ? std::to_string(json_integer_value(number)) : "(none)");
    }
    return text + (json_object_size(tally) == 4 ? "" : " and more");
}

cObjectDInput inputOf(uint32_t serial)
{
    cObjectDInput input;
    input.setDeviceSerial(serial);
    input.setPortId(2);
    return input;
}

/// A server with the devices 1, 2 and 3.
class EveryDeviceTest : public testing::Test
{
protected:
    LocalServer mServer;
    RawDevice mFirst = deviceAt(&mServer, 1);
    RawDevice mSecond = deviceAt(&mServer, 2);
    RawDevice mThird = deviceAt(&mServer, 3);
};

} // namespace

TEST_F(EveryDeviceTest, allAreAskedBeforeOneHasAnswered)
{
    mServer.type("get din 2 device=*");
    const WMsg requests[] = {mFirst.receive(), mSecond.receive(), mThird.receive()};
    mThird.answer(requests[2], {});
    mFirst.answer(requests[0], {});
    mSecond.answer(requests[1], {});
    const zulcommand::JsonPtr reply = mServer.lines().next("reply");
    EXPECT_EQ(member(reply, "status"), "ok");
    EXPECT_EQ(member(reply, "command"), "get din 2 device=*");
    EXPECT_EQ(member(reply, "msgType"), "null");
    EXPECT_EQ(member(reply, "error"), "(none)");
    EXPECT_EQ(objectCount(reply), 0U);
    EXPECT_EQ(tallyOf(reply), "3 3 0 0");
}

TEST_F(EveryDeviceTest, eachAnswerIsALineOfItsOwn)
{
    mServer.type("get din 2 device=*");
    for (RawDevice* device : {&mFirst, &mSecond, &mThird}) {
        const cObjectDInput input = inputOf(7);
        device->answer(device->receive(), {&input});
        const zulcommand::JsonPtr line = mServer.lines().next();
        EXPECT_EQ(member(line, "event"), "answer");
        EXPECT_EQ(member(line, "peer"), device->peer());
        EXPECT_EQ(member(line, "deviceSerial"), device == &mFirst ? "1" : device == &mSecond ? "2" : "3");
        EXPECT_EQ(member(line, "msgType"), "1");
        EXPECT_EQ(object(line, 0, "portId"), "2");
    }
    EXPECT_EQ(tallyOf(mServer.lines().next()), "3 3 0 0");
}

TEST_F(EveryDeviceTest, aSetGoesToAllOfThem)
{
    mServer.type("set dout 1 state=high device=*");
    for (RawDevice* device : {&mFirst, &mSecond, &mThird}) {
        const WMsg request = device->receive();
        EXPECT_EQ(request.type, cObjectList::kSet);
        device->answer(request, {});
    }
    const zulcommand::JsonPtr reply = mServer.lines().next("reply");
    EXPECT_EQ(member(reply, "status"), "ok");
    EXPECT_EQ(tallyOf(reply), "3 3 0 0");
}

TEST_F(EveryDeviceTest, oneThatDoesNotAnswerIsATimeout)
{
    mServer.type("get device device=* timeout=0.2");
    mFirst.answer(mFirst.receive(), {});
    mThird.answer(mThird.receive(), {});
    const zulcommand::JsonPtr reply = mServer.lines().next("reply");
    EXPECT_EQ(member(reply, "status"), "timeout");
    EXPECT_EQ(member(reply, "error"), "Of 3 devices 1 did not answer within 0.2 seconds.");
    EXPECT_EQ(tallyOf(reply), "3 2 1 0");

    // Its late answer counts for nothing.
    mSecond.answer(mSecond.receive(), {});
    mServer.type("get device device=2");
    mSecond.answer(mSecond.receive(), {});
    EXPECT_EQ(member(mServer.lines().next(), "event"), "reply") << "no answer line comes";
}

TEST_F(EveryDeviceTest, oneThatDisconnectsIsAFailure)
{
    mServer.type("get device device=*");
    mFirst.answer(mFirst.receive(), {});
    mThird.answer(mThird.receive(), {});
    mSecond.receive();
    mSecond.disconnect();
    const zulcommand::JsonPtr reply = mServer.lines().next("reply");
    EXPECT_EQ(member(reply, "status"), "failed");
    EXPECT_EQ(member(reply, "error"), "Of 3 devices 1 ended in an error.");
    EXPECT_EQ(tallyOf(reply), "3 2 0 1");
}

TEST_F(EveryDeviceTest, anAnswerThatIsNotUnderstoodIsAFailureAndATimeoutCountsMore)
{
    mServer.type("get device device=* timeout=0.2");
    WMsg answer = mFirst.receive();
    answer.answer = true;
    answer.payload.assign(5, 0);
    mFirst.send(answer);
    mSecond.answer(mSecond.receive(), {});
    const zulcommand::JsonPtr reply = mServer.lines().next("reply");
    EXPECT_EQ(member(reply, "status"), "timeout");
    EXPECT_EQ(member(reply, "error"),
              "Of 3 devices 1 did not answer within 0.2 seconds and 1 ended in an error.");
    EXPECT_EQ(tallyOf(reply), "3 1 1 1");
}

TEST_F(EveryDeviceTest, oneThatLeavesTooManyUnansweredIsNotAsked)
{
    for (size_t i = 0; i < LinkSession::kMaxOutstanding; ++i) {
        mServer.reply("send type=1 device=1");
    }
    mServer.type("get device device=*");
    mSecond.answer(mSecond.receive(), {});
    mThird.answer(mThird.receive(), {});
    const zulcommand::JsonPtr reply = mServer.lines().next("reply");
    EXPECT_EQ(member(reply, "status"), "failed");
    EXPECT_EQ(tallyOf(reply), "3 2 0 1");
}

TEST_F(EveryDeviceTest, twoWithOneSerialAreBothAsked)
{
    RawDevice twin = deviceAt(&mServer, 3);
    mServer.type("get device device=*");
    for (RawDevice* device : {&mFirst, &mSecond, &mThird, &twin}) {
        device->answer(device->receive(), {});
    }
    EXPECT_EQ(tallyOf(mServer.lines().next("reply")), "4 4 0 0");
}

TEST_F(EveryDeviceTest, oneThatDidNotSayWhoItIsIsNotAsked)
{
    RawDevice unknown(mServer.port());
    const WMsg question = unknown.receive();
    mServer.type("get device device=*");
    for (RawDevice* device : {&mFirst, &mSecond, &mThird}) {
        device->answer(device->receive(), {});
    }
    EXPECT_EQ(tallyOf(mServer.lines().next("reply")), "3 3 0 0");
    cObjectDevice record;
    record.setDeviceSerial(9);
    unknown.answer(question, {&record});
    mServer.lines().next("device");
    mServer.type("send type=77 device=9");
    EXPECT_EQ(unknown.receive().type, 77) << "nothing was sent before";
}

TEST(NoDeviceTest, withoutADeviceItIsAnErrorWithATallyOfNone)
{
    LocalServer server;
    const zulcommand::JsonPtr reply = server.reply("get device device=*");
    EXPECT_EQ(member(reply, "status"), "error");
    EXPECT_EQ(member(reply, "error"), "No device is connected.");
    EXPECT_EQ(tallyOf(reply), "0 0 0 0");
}

TEST_F(EveryDeviceTest, theEndOfTheWholeRunHasATallyToo)
{
    server::Options options;
    options.timeout = 0.3;
    LocalServer server({}, options);
    RawDevice device = deviceAt(&server, 1);
    server.type("get device device=* timeout=1000");
    const zulcommand::JsonPtr reply = server.lines().next("reply");
    EXPECT_EQ(member(reply, "status"), "timeout");
    EXPECT_EQ(member(reply, "error"), "The time of the whole run is over.");
    EXPECT_EQ(tallyOf(reply), "1 0 1 0");
    EXPECT_EQ(server.wait(), 3);
}

TEST(ManyDevicesTest, moreThanThereAreNumbersAreAskedAtOnce)
{
    LocalServer server;
    std::list<RawDevice> devices;
    for (uint32_t serial = 1; serial <= 300; ++serial) {
        devices.push_back(deviceAt(&server, serial));
    }
    server.type("get device device=*");
    std::list<WMsg> requests;
    for (RawDevice& device : devices) {
        requests.push_back(device.receive());
    }
    for (RawDevice& device : devices) {
        device.answer(requests.front(), {});
        requests.pop_front();
    }
    const zulcommand::JsonPtr reply = server.lines().next("reply");
    EXPECT_EQ(member(reply, "status"), "ok");
    EXPECT_EQ(tallyOf(reply), "300 300 0 0");
}

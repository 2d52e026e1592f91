// The command "expect", against devices in the same process.

#include <gtest/gtest.h>
#include <string>

#include "serveddevice.h"
#include "zulcommand/expectation.h"
#include "zulobj/access.h"
#include "zulobj/adhoc.h"
#include "zulobj/dinput.h"
#include "zulobj/objectlist.h"

namespace {

std::string statusOf(const zulcommand::JsonPtr& reply) { return member(reply, "status"); }

WMsg inputEventWith(uint32_t portId, cObject::eObjectIOState state)
{
    cObjectDInput input;
    input.setPortId(portId);
    input.setInputState(state);
    return messageOf(cObjectList::kEvent, {&input});
}

class ExpectTest : public ServedDeviceTest
{
protected:
    /// Sends a message and waits until the server has it.
    void send(const WMsg& message)
    {
        mDevice.send(message);
        mServer.lines().next("message");
    }

    /// The reply to @p command, which has this status.
    zulcommand::JsonPtr reply(const std::string& command, const std::string& status)
    {
        zulcommand::JsonPtr reply = mServer.reply(command);
        EXPECT_EQ(statusOf(reply), status) << dumped(reply);
        return reply;
    }

    void expectMissed(const std::string& command, const std::string& sentence)
    {
        EXPECT_EQ(member(reply(command, "failed"), "error"), sentence);
    }
};

} // namespace

TEST_F(ExpectTest, anEventThatCameBeforeIsFound)
{
    send(inputEventWith(1, cObject::OBJ_IO_STATE_CLEAR));
    send(inputEventWith(2, cObject::OBJ_IO_STATE_SET));
    const zulcommand::JsonPtr found =
        reply("expect event OBJ_PORT_DIN portId=2 inputState=OBJ_IO_STATE_SET within=0.01", "ok");
    EXPECT_EQ(member(found, "msgType"), "3");
    EXPECT_EQ(object(found, 0, "portId"), "2");
    EXPECT_EQ(member(found, "error"), "(none)");
    EXPECT_EQ(member(found, "came"), "(none)");
}

TEST_F(ExpectTest, anEventThatComesLaterIsWaitedFor)
{
    mServer.type("expect event OBJ_PORT_DIN inputState=OBJ_IO_STATE_SET");
    send(inputEventWith(7, cObject::OBJ_IO_STATE_CLEAR));
    send(inputEventWith(8, cObject::OBJ_IO_STATE_SET));
    EXPECT_EQ(object(mServer.lines().next("reply"), 0, "portId"), "8");
}

TEST_F(ExpectTest, eventsAreFoundInEitherOrderAndEachOnce)
{
    send(inputEvent(1));
    send(inputEvent(2));
    send(inputEvent(1));
    reply("expect event OBJ_PORT_DIN portId=2 within=0.01", "ok");
    reply("expect event OBJ_PORT_DIN portId=1 within=0.01", "ok");
    reply("expect event OBJ_PORT_DIN portId=2 within=0.01", "failed");
    reply("expect event OBJ_PORT_DIN portId=1 within=0.01", "ok");
    reply("expect event OBJ_PORT_DIN portId=1 within=0.01", "failed");
}

TEST_F(ExpectTest, waitAndExpectTakeFromTheSameMessages)
{
    send(inputEvent(1));
    send(inputEvent(2));
    reply("expect event OBJ_PORT_DIN portId=3 within=0.01", "failed");
    EXPECT_EQ(object(reply("wait event", "ok"), 0, "portId"), "1");
    reply("expect event OBJ_PORT_DIN portId=1 within=0.01", "failed");
    reply("expect event within=0.01", "ok");
    reply("wait event timeout=0.01", "timeout");
}

TEST_F(ExpectTest, theDeviceThatIsMeantCounts)
{
    RawDevice other = deviceAt(&mServer, 2);
    send(inputEvent(1));
    expectMissed("expect event OBJ_PORT_DIN portId=1 device=2 within=0.01",
                 "No event OBJ_PORT_DIN with portId=1 came within 0.01 seconds; nothing else came.");
    reply("expect event OBJ_PORT_DIN portId=1 device=1 within=0.01", "ok");
}

TEST_F(ExpectTest, aFailureSaysWhatWasExpectedAndWhatCame)
{
    cObjectAdhocEvent adhoc;
    send(messageOf(cObjectList::kEvent, {&adhoc}));
    expectMissed(
        "expect event within=0.01 OBJ_PORT_DIN portId=2",
        "No event OBJ_PORT_DIN with portId=2 came within 0.01 seconds; 1 message came instead, without "
        "such an object.");
    send(inputEventWith(1, cObject::OBJ_IO_STATE_SET));
    send(inputEventWith(2, cObject::OBJ_IO_STATE_CLEAR));
    const zulcommand::JsonPtr missed =
        reply("expect event OBJ_PORT_DIN inputState=OBJ_IO_STATE_SET portId=2 within=0.01", "failed");
    EXPECT_EQ(member(missed, "error"),
              "No event OBJ_PORT_DIN with portId=2 inputState=OBJ_IO_STATE_SET came within 0.01 seconds; 2 "
              "messages with OBJ_PORT_DIN came instead, the last one with portId=2 "
              "inputState=OBJ_IO_STATE_CLEAR.");
    EXPECT_EQ(member(missed, "msgType"), "null");
    EXPECT_EQ(objectCount(missed), 0U);
    const json_t* came = json_object_get(missed.get(), "came");
    ASSERT_EQ(json_array_size(came), 2U) << "messages of the type, without the others";
    EXPECT_STREQ(json_string_value(json_object_get(json_array_get(came, 0), "event")), "message");
    expectMissed("expect event OBJ_ACCESS within=1e-3",
                 "No event OBJ_ACCESS came within 0.001 seconds; 3 messages came instead, without such an "
                 "object.");
}

TEST_F(ExpectTest, whatAFailureShowsIsBounded)
{
    cObjectAccess scan;
    scan.setScanCode(std::string(5000, 'x').c_str());
    for (int i = 0; i < 3; ++i) {
        send(messageOf(cObjectList::kEvent, {&scan}));
    }
    zulcommand::JsonPtr missed = reply("expect event OBJ_ACCESS scanCode=y within=0.01", "failed");
    EXPECT_EQ(json_array_size(json_object_get(missed.get(), "came")), 1U);
    EXPECT_LT(member(missed, "error").size(), 300U);
    for (int i = 0; i < 30; ++i) {
        send(inputEvent(1));
    }
    missed = reply("expect event OBJ_PORT_DIN portId=2 within=0.01", "failed");
    EXPECT_EQ(json_array_size(json_object_get(missed.get(), "came")), zulcommand::kMaxInstead);
    EXPECT_NE(member(missed, "error").find("30 messages with OBJ_PORT_DIN came"), std::string::npos);
}

TEST_F(ExpectTest, aLongValueIsCutAtTheEndOfACharacter)
{
    cObjectAccess scan;
    std::string code;
    for (int i = 0; i < 200; ++i) {
        code += "é";
    }
    scan.setScanCode(code.c_str());
    send(messageOf(cObjectList::kEvent, {&scan}));
    const std::string error =
        member(reply("expect event OBJ_ACCESS scanCode=y within=0.01", "failed"), "error");
    EXPECT_EQ(error.find("\xEF\xBF\xBD"), std::string::npos) << error;
    EXPECT_NE(error.find("é….", error.size() - 10), std::string::npos) << error;
}

TEST_F(ExpectTest, noEventIsFineUntilOneComes)
{
    send(inputEvent(1));
    reply("expect no event OBJ_PORT_DIN portId=2 within=0.01", "ok");
    mServer.type("expect no event OBJ_PORT_DIN portId=2");
    send(inputEvent(2));
    const zulcommand::JsonPtr unwanted = mServer.lines().next("reply");
    EXPECT_EQ(statusOf(unwanted), "failed");
    EXPECT_EQ(member(unwanted, "error"), "An event OBJ_PORT_DIN with portId=2 came.");
    EXPECT_EQ(object(unwanted, 0, "portId"), "2");
    reply("expect event OBJ_PORT_DIN portId=2 within=0.01", "ok");
}

TEST_F(ExpectTest, noEventLooksAtWhatNobodyHasTaken)
{
    send(inputEvent(1));
    expectMissed("expect no event within=0.01", "An event with OBJ_PORT_DIN came.");
    reply("forget", "ok");
    reply("expect no event within=0.01", "ok");
}

TEST_F(ExpectTest, anAnswerIsAskedForUntilItIsAsExpected)
{
    mServer.type("expect get din 1 inputState=OBJ_IO_STATE_SET");
    cObjectDInput input;
    input.setPortId(1);
    mDevice.answer(mDevice.receive(), {&input});
    mDevice.answer(mDevice.receive(), {&input});
    input.setInputState(cObject::OBJ_IO_STATE_SET);
    mDevice.answer(mDevice.receive(), {&input});
    const zulcommand::JsonPtr met = mServer.lines().next("reply");
    EXPECT_EQ(statusOf(met), "ok");
    EXPECT_EQ(object(met, 0, "inputState"), "OBJ_IO_STATE_SET");
}

TEST_F(ExpectTest, anAnswerThatStaysWrongFails)
{
    mServer.type("expect get din 1 inputState=OBJ_IO_STATE_SET within=0.05");
    cObjectDInput input;
    input.setPortId(1);
    mDevice.answer(mDevice.receive(), {&input});
    const zulcommand::JsonPtr missed = mServer.lines().next("reply");
    EXPECT_EQ(statusOf(missed), "failed");
    EXPECT_EQ(member(missed, "error"),
              "No answer had an OBJ_PORT_DIN with inputState=OBJ_IO_STATE_SET within "
              "0.05 seconds; 1 answer came, the last one with "
              "inputState=OBJ_IO_STATE_UNKNOWN.");
    EXPECT_EQ(object(missed, 0, "portId"), "1");
}

TEST_F(ExpectTest, noAnswerFailsAndALateOneCountsForNothing)
{
    mServer.type("expect get din 1 inputState=OBJ_IO_STATE_SET within=0.05");
    const WMsg question = mDevice.receive();
    const zulcommand::JsonPtr missed = mServer.lines().next("reply");
    EXPECT_EQ(statusOf(missed), "failed");
    EXPECT_EQ(member(missed, "error"), "No answer came within 0.05 seconds; OBJ_PORT_DIN with "
                                       "inputState=OBJ_IO_STATE_SET was expected.");
    mServer.type("get din 2");
    const WMsg second = mDevice.receive();
    cObjectDInput input;
    input.setPortId(1);
    mDevice.answer(question, {&input});
    input.setPortId(2);
    mDevice.answer(second, {&input});
    EXPECT_EQ(object(mServer.lines().next("reply"), 0, "portId"), "2");
}

TEST_F(ExpectTest, anObjectOfAnotherTypeIsNoAnswer)
{
    mServer.type("expect get object=99 within=0.05");
    mDevice.answer(mDevice.receive(), {});
    EXPECT_EQ(statusOf(mServer.lines().next("reply")), "failed");
    mServer.type("expect get object=99");
    const cObject plain(static_cast<eObjectTypes>(99));
    mDevice.answer(mDevice.receive(), {&plain});
    EXPECT_EQ(statusOf(mServer.lines().next("reply")), "ok");
}

TEST_F(ExpectTest, aDeviceThatGoesAwayIsAnError)
{
    mServer.type("expect get din 1 inputState=OBJ_IO_STATE_SET");
    mDevice.receive();
    mDevice.disconnect();
    const zulcommand::JsonPtr gone = mServer.lines().next("reply");
    EXPECT_EQ(statusOf(gone), "error");
    EXPECT_EQ(member(gone, "error"), "The device disconnected before it answered.");
    EXPECT_EQ(member(reply("expect get din 1", "error"), "error"), "No device is connected.");
}

TEST_F(ExpectTest, aFailedExpectationIsTheStatusAtTheEnd)
{
    reply("expect event within=0.01", "failed");
    reply("foo", "error");
    mServer.type("quit");
    EXPECT_EQ(mServer.wait(), 4);
}

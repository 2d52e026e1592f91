// Two devices with one serial are told apart by where they connect from.

#include <gtest/gtest.h>
#include <string>

#include "serveddevice.h"
#include "zulobj/adhoc.h"
#include "zulobj/objectlist.h"

namespace {

class PeerTest : public testing::Test
{
protected:
    std::string statusOf(const std::string& command) { return member(mServer.reply(command), "status"); }
    std::string errorOf(const std::string& command) { return member(mServer.reply(command), "error"); }
    static std::string at(const RawDevice& device) { return " peer=" + device.peer(); }

    LocalServer mServer;
    RawDevice mFirst = deviceAt(&mServer, 5);
    RawDevice mSecond = deviceAt(&mServer, 5);
};

} // namespace

TEST_F(PeerTest, aGetGoesToTheDeviceAtThePeer)
{
    for (const std::string field : {"", " device=5"}) {
        mServer.type("get device" + at(mSecond) + field);
        mSecond.answer(mSecond.receive(), {});
        EXPECT_EQ(member(mServer.lines().next("reply"), "status"), "ok");
    }
    mServer.type("send type=77" + at(mFirst));
    EXPECT_EQ(mFirst.receive().type, 77) << "nothing was sent before";
}

TEST_F(PeerTest, aSetAndAnExpectedAnswerToo)
{
    mServer.type("set dout 1 state=high" + at(mFirst));
    mFirst.answer(mFirst.receive(), {});
    EXPECT_EQ(member(mServer.lines().next("reply"), "status"), "ok");
    mServer.type("expect get object=13" + at(mFirst));
    const cObjectAdhocEvent object;
    mFirst.answer(mFirst.receive(), {&object});
    EXPECT_EQ(member(mServer.lines().next("reply"), "status"), "ok");
}

TEST_F(PeerTest, onePeerThatIsNotThereIsAnError)
{
    for (const char* command : {"get device", "set dout 1", "send type=3", "drop", "expect get din 1"}) {
        EXPECT_EQ(errorOf(command + std::string(" peer=127.0.0.1:1")),
                  "No device at 127.0.0.1:1 is connected.");
    }
    EXPECT_EQ(errorOf("get device device=6" + at(mFirst)),
              "No device with the serial 6 at " + mFirst.peer() + " is connected.");
    const std::string gone = mFirst.peer();
    mFirst.disconnect();
    mServer.lines().next("disconnected");
    EXPECT_EQ(errorOf("get device peer=" + gone), "No device at " + gone + " is connected.");
}

TEST_F(PeerTest, aPeerThatDidNotSayWhoItIsIsNoDevice)
{
    RawDevice unknown(mServer.port());
    unknown.receive();
    EXPECT_EQ(errorOf("get device" + at(unknown)), "No device at " + unknown.peer() + " is connected.");
}

TEST_F(PeerTest, onlyItsConnectionIsDropped)
{
    EXPECT_EQ(statusOf("drop" + at(mSecond)), "ok");
    mSecond.waitForEnd();
    mServer.type("send type=77 device=5");
    EXPECT_EQ(mFirst.receive().type, 77);
}

TEST_F(PeerTest, onlyItsEventsAreTaken)
{
    mFirst.send(inputEvent(1));
    mServer.lines().next("message");
    mSecond.send(inputEvent(2));
    mServer.lines().next("message");
    EXPECT_EQ(object(mServer.reply("wait event" + at(mSecond)), 0, "portId"), "2");
    EXPECT_EQ(statusOf("expect no event within=0.01" + at(mSecond)), "ok");
    EXPECT_EQ(errorOf("expect event within=0.01" + at(mSecond)),
              "No event came within 0.01 seconds; nothing else came.");
    EXPECT_EQ(object(mServer.reply("expect event OBJ_PORT_DIN portId=1" + at(mFirst)), 0, "portId"), "1");
}

TEST_F(PeerTest, itsComingAndItsEndAreWaitedFor)
{
    EXPECT_EQ(statusOf("wait device" + at(mSecond)), "ok");
    EXPECT_EQ(statusOf("wait device timeout=0.01 peer=127.0.0.1:1"), "timeout");
    const std::string first = at(mFirst);
    mFirst.disconnect();
    mServer.lines().next("disconnected");
    EXPECT_EQ(statusOf("wait disconnected timeout=0.01" + at(mSecond)), "timeout");
    EXPECT_EQ(statusOf("wait disconnected" + first), "ok");
}

TEST(PeerOfIPv6Test, isWrittenAsTheLinesHaveIt)
{
    server::Options options;
    options.listen = "::1";
    LocalServer server({}, options);
    EXPECT_EQ(member(server.reply("get device peer=[::1]:5"), "error"), "No device at [::1]:5 is connected.");
}

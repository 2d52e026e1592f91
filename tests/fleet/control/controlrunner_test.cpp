#include "fleet/control/controlrunner.h"

#include <gtest/gtest.h>

using namespace fleet;
using zulcommand::JsonPtr;

namespace {

class FleetControlTest : public testing::Test
{
protected:
    FleetControlTest()
    {
        mRunner.onReply = [this](const JsonPtr& line) { mReply.reset(json_deep_copy(line.get())); };
        mRunner.onReady = [] {};
        mRunner.onQuit = [this] { mQuit = true; };
    }

    static FleetSettings settings(uint32_t count)
    {
        FleetSettings settings;
        settings.count = count;
        settings.serialStart = 1001;
        settings.counts = {2, 2, 1, 1, 1};
        settings.label = *LabelPattern::parse("SITE {n}");
        return settings;
    }

    static ServerTarget target() { return ServerTarget({{boost::asio::ip::address_v4::loopback(), 1}}, {}); }

    /// Returns the status of the reply to @p command.
    std::string ask(const std::string& command) { return ask(&mRunner, command); }

    std::string ask(ControlRunner* runner, const std::string& command)
    {
        runner->submit(command);
        runner->runNext();
        while (runner->isRunning()) {
            mIo.restart(); // it has stopped if it had nothing to do
            mIo.run_one();
        }
        return json_string_value(json_object_get(mReply.get(), "status"));
    }

    std::string error() const { return json_string_value(json_object_get(mReply.get(), "error")); }
    size_t objects() const { return json_array_size(json_object_get(mReply.get(), "objects")); }
    json_int_t tally(const char* name) const
    {
        return json_integer_value(json_object_get(json_object_get(mReply.get(), "tally"), name));
    }

    boost::asio::io_context mIo{1};
    Fleet mFleet{mIo, settings(3), target()};
    ControlRunner mRunner{mIo, mFleet};
    JsonPtr mReply;
    bool mQuit = false;
};

} // namespace

TEST_F(FleetControlTest, aSerialNumberNamesADevice)
{
    EXPECT_EQ(ask("set din 2 high device=1002"), "ok");
    EXPECT_TRUE(mFleet.device(1002)->plain().isHigh(2));
    EXPECT_FALSE(mFleet.device(1001)->plain().isHigh(2));
    EXPECT_EQ(ask("get din * device=1002"), "ok");
    EXPECT_EQ(objects(), 2U);
}

TEST_F(FleetControlTest, aStarMeansAllDevices)
{
    EXPECT_EQ(ask("set din 1 high device=*"), "ok");
    EXPECT_EQ(tally("asked"), 3);
    EXPECT_EQ(tally("answered"), 3);
    EXPECT_EQ(tally("error"), 0);
    EXPECT_EQ(ask("get din 1 device=*"), "ok");
    EXPECT_EQ(objects(), 3U);
    EXPECT_EQ(ask("expect get din 1 inputState=OBJ_IO_STATE_SET device=*"), "ok");
}

TEST_F(FleetControlTest, allIsWellOnlyIfItIsForEachDevice)
{
    EXPECT_EQ(ask("set din 3 high device=*"), "error");
    EXPECT_EQ(error(), "There is no digital input 3: the device has 2.");
    EXPECT_EQ(tally("error"), 3);
    ask("set din 1 high device=1001");
    EXPECT_EQ(ask("expect get din 1 inputState=OBJ_IO_STATE_SET device=* within=0.05"), "failed");
}

TEST_F(FleetControlTest, severalDevicesMustBeNamed)
{
    EXPECT_EQ(ask("set din 1 high"), "error");
    EXPECT_EQ(error(), "The command needs the field \"device\": SERIAL or *.");
    EXPECT_EQ(ask("set din 1 high device=1004"), "error");
    EXPECT_EQ(error(), "There is no device 1004.");
    EXPECT_EQ(ask("set din 1 high peer=127.0.0.1:1"), "error");
    EXPECT_EQ(error(), "The command names a device by device=SERIAL or device=*.");
}

TEST_F(FleetControlTest, theOnlyDeviceNeedsNoName)
{
    Fleet single(mIo, settings(1), target());
    ControlRunner runner(mIo, single);
    runner.onReply = mRunner.onReply;
    runner.onReady = [] {};
    EXPECT_EQ(ask(&runner, "set din 1 high"), "ok");
    EXPECT_TRUE(single.device(1001)->plain().isHigh(1));
}

TEST_F(FleetControlTest, outputsAreWiredOnceAndToOneInput)
{
    EXPECT_EQ(ask("wire din 1 2 device=1001"), "ok");
    EXPECT_EQ(ask("wire din 1 2 device=1001"), "ok");
    EXPECT_EQ(mFleet.device(1001)->plain().digitalInputs()[0]->getOutputCount(), 1);
    EXPECT_EQ(ask("wire din 2 2 device=1001"), "error");
    EXPECT_EQ(error(), "Another input drives digital output 2.");
    EXPECT_EQ(ask("set din 1 high device=1001"), "ok");
    EXPECT_EQ(ask("expect get dout 2 outputState=OBJ_IO_STATE_SET device=1001"), "ok");
    EXPECT_EQ(ask("unwire din 1 2 device=1001"), "ok");
    EXPECT_EQ(mFleet.device(1001)->plain().digitalInputs()[0]->getOutputCount(), 0);
}

TEST_F(FleetControlTest, linksAreCounted)
{
    EXPECT_EQ(ask("disconnect device=1002"), "ok");
    EXPECT_EQ(ask("get link device=*"), "ok");
    const json_t* links = json_object_get(mReply.get(), "links");
    EXPECT_EQ(json_integer_value(json_object_get(links, "down")), 2);
    EXPECT_EQ(json_integer_value(json_object_get(links, "off")), 1);
    EXPECT_EQ(ask("wait link up device=1002 timeout=0.05"), "timeout");
    EXPECT_EQ(ask("wait link down device=*"), "ok");
}

TEST_F(FleetControlTest, whatAFleetDoesNotDoIsToldSo)
{
    EXPECT_EQ(ask("load x.dev device=*"), "error");
    EXPECT_EQ(error(), "A fleet takes no other devices.");
    EXPECT_EQ(ask("script x.js device=*"), "error");
    EXPECT_EQ(error(), "A fleet runs no scripts.");
    EXPECT_EQ(ask("connect 127.0.0.1:2 device=*"), "error");
    EXPECT_EQ(error(), "A fleet has one server: the command takes no HOST:PORT.");
}

TEST_F(FleetControlTest, aSetIsAnEventThatCanBeExpected)
{
    cObjectDOutput output;
    output.setDeviceSerial(1002);
    output.setPortId(1);
    output.setOutputState(cObject::OBJ_IO_STATE_SET);
    cObjectList list;
    list.setMsgType(cObjectList::kSet);
    list.addBorrowed(&output);
    WMsg message;
    ASSERT_TRUE(list.encode(&message).isOk());
    mRunner.setReceived(1002, std::move(message));
    EXPECT_EQ(ask("expect no event OBJ_PORT_DOUT device=1001 within=0.05"), "ok");
    EXPECT_EQ(ask("expect event OBJ_PORT_DOUT portId=1 device=1002 within=0.05"), "ok");
    EXPECT_EQ(ask("expect event OBJ_PORT_DOUT device=1002 within=0.05"), "failed");
}

TEST_F(FleetControlTest, quitEndsTheProgram)
{
    EXPECT_EQ(ask("quit"), "ok");
    EXPECT_TRUE(mQuit);
}

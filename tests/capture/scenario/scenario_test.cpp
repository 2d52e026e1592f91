// What an operator did, as a scenario, which is read and played again.

#include <cmath>

#include "messages.h"
#include "playback.h"
#include "programrun.h"
#include "zulscenario/scenarioreader.h"

namespace {

using Bytes = std::vector<uint8_t>;
using namespace std::chrono_literals;

class OperatorScenarioTest : public CaptureTest
{
protected:
    template <class Fill>
    static Bytes event(eObjectTypes type, Fill fill)
    {
        WMsg message = messageOf(3, 1);
        PayloadWriter writer(&message.payload);
        writer.beginObject(type);
        writer.putNumber(TAG_DEVICE_SERIAL, uint32_t{7});
        fill(&writer);
        writer.endObject();
        return framesOf(message);
    }

    static Bytes sample(float value, uint32_t seqNum)
    {
        return event(OBJ_ANALOG_SAMPLE, [=](PayloadWriter* writer) {
            writer->putNumber(TAG_PORT_NUM, uint32_t{1});
            writer->putNumber(TAG_SAMPLE, value);
            writer->putNumber(TAG_SEQ_NUM, seqNum);
        });
    }

    ProgramRun made() { return runCapture({"scenario", file(mMade), "--device", "7"}); }

    /// What a device sends that plays @p text.
    std::string played(const std::string& text)
    {
        zulscenario::Scenario scenario;
        const std::string path = file(Bytes(text.begin(), text.end()), "yaml");
        EXPECT_EQ(zulscenario::readScenario(path, {4, 4, 4, 4, 4}, &scenario), "") << text;
        Playback playback(7);
        playback.add(std::move(scenario)).run(24h);
        EXPECT_TRUE(playback.player.isDone());
        return playback.device.log;
    }

    MadeCapture mMade{"zulserver 1", {"zulserver"}};
};

TEST_F(OperatorScenarioTest, TheSameEventsComeAtTheSameTimesWhenItIsPlayed)
{
    auto line = mMade.open(50000);
    mMade.wait(5000);
    mMade.fromServer(&line, deviceRequest(1));
    mMade.fromClient(&line, deviceAnswer(1, 7));
    mMade.wait(1500);
    mMade.fromClient(&line, inputEvent(1, 7, 2, 1));
    mMade.fromClient(&line, inputEvent(2, 7, 1, 2)); // was high when the recording began
    mMade.wait(1);
    mMade.fromClient(&line, inputEvent(3, 7, 2, 2));
    mMade.fromClient(&line, sample(42.0F, 0));
    mMade.wait(60'000);
    mMade.fromClient(&line, event(OBJ_ACCESS, [](PayloadWriter* writer) {
        writer->putNumber(TAG_PORT_NUM, uint32_t{2});
        writer->putText(TAG_SCAN_CODE, "4711: \"{n}\" # \xC3\xA4");
    }));
    mMade.fromClient(&line, event(OBJ_ADHOC_EVENT, [](PayloadWriter* writer) {
        writer->putNumber(TAG_PORT_ID, uint32_t{99});
        writer->putText(TAG_EVENT_LABEL, "door");
        writer->putText(TAG_EVENT_VALUE, "");
    }));
    const ProgramRun run = made();
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(played(run.out), "1.5 din 2 high; 1.5 din 1 low; 1.501 din 2 low; 1.501 ain 1 42; "
                               "61.501 scan 2 4711: \"{n}\" # \xC3\xA4; 61.501 adhoc 99 door ");
}

TEST_F(OperatorScenarioTest, SamplesThatTheRateSentStayOut)
{
    auto line = mMade.open(50000);
    mMade.fromClient(&line, inputEvent(1, 7, 1, 1));
    for (uint32_t i = 1; i <= 257; ++i) {
        mMade.wait(60'000);
        mMade.fromClient(&line, sample(20.0F, i % 256));
    }
    mMade.wait(10'000);
    mMade.fromClient(&line, sample(30.0F, 0));
    EXPECT_EQ(played(made().out), "0.0 din 1 high; 15430.0 ain 1 30");
}

TEST_F(OperatorScenarioTest, OnlyWhatTheDeviceItselfSentCounts)
{
    auto line = mMade.open(50000);
    mMade.fromClient(&line, inputEvent(1, 7, 1, 1));
    auto other = mMade.open(50000);
    mMade.fromClient(&other, inputEvent(1, 8, 1, 1));
    mMade.fromServer(&line, inputEvent(1, 7, 2, 1));
    EXPECT_EQ(played(made().out), "0.0 din 1 high");
}

TEST_F(OperatorScenarioTest, WhatNoStepMakesIsLeftOutAndSaid)
{
    auto line = mMade.open(50000);
    for (const uint8_t seq : {1, 2}) {
        mMade.fromClient(&line, inputEvent(seq, 7, 1, 1));
    }
    mMade.fromClient(&line, sample(NAN, 0));
    mMade.fromClient(&line, sample(101.0F, 0));
    mMade.fromClient(&line, sample(20.5F, 0));
    const ProgramRun run = made();
    EXPECT_EQ(played(run.out), "0.0 din 1 high");
    EXPECT_EQ(run.err, "zulcapture: Events that no step of a scenario makes were left out: 4.\n");
    EXPECT_EQ(run.status, 0);
}

TEST_F(OperatorScenarioTest, ADeviceThatDidNothingIsAMistake)
{
    const std::string path = file(mMade);
    const ProgramRun run = runCapture({"scenario", path, "--device", "9"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_NE(run.err.find("has nothing that an operator of device 9 did."), std::string::npos) << run.err;
}

} // namespace

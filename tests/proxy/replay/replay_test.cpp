// What rules would do to a recorded session. The recordings are made up here packet by packet.

#include <gtest/gtest.h>
#include <sstream>

#include "hexbytes.h"
#include "madecapture.h"
#include "payloadwriter.h"
#include "proxy/replay/replay.h"
#include "proxy/rules/ruleparser.h"
#include "wmsg/wmsg.h"

namespace {

using namespace proxy;
using Bytes = std::vector<uint8_t>;
using Lines = std::vector<std::string>;

constexpr int64_t kBeginning = MadeCapture::kBeginningNs;

constexpr uint16_t kServerPort = 50000;
constexpr uint16_t kProxyPort = 7000;

/// An event of the device with this serial number.
Bytes event(uint8_t seq, uint32_t serial = 7)
{
    WMsg message;
    message.type = 3;
    message.seq = seq;
    message.event = true;
    PayloadWriter writer(&message.payload);
    writer.beginObject(13);
    writer.putNumber(1, serial);
    writer.endObject();
    return framesOf(message);
}

Bytes answer(uint8_t seq)
{
    WMsg message;
    message.type = 3;
    message.seq = seq;
    message.answer = true;
    return framesOf(message);
}

using Recording = MadeCapture;

class ReplayTest : public testing::Test
{
protected:
    /// Plays @p recording; a fault becomes "connection kind sequence number, ms since the beginning".
    void play(const Recording& recording, const Lines& rules, uint16_t port = kServerPort)
    {
        Replay::Settings settings{{}, 1, port};
        for (const std::string& text : rules) {
            EXPECT_EQ(parseRule(text, &settings.rules.emplace_back()), "");
        }
        Replay replay(settings);
        replay.onFault = [this](const Fault& fault, int64_t timeNs) {
            mFaults.push_back(std::to_string(fault.connection) + ' ' + nameOf(fault.kind) +
                              (fault.msgSeq ? ' ' + std::to_string(*fault.msgSeq) : "") + ", " +
                              std::to_string((timeNs - kBeginning) / 1'000'000));
        };
        replay.onProblem = [this](const std::string& sentence) { mProblems.push_back(sentence); };
        std::istringstream stream(std::string(recording.file().begin(), recording.file().end()));
        cPacketReader reader(&stream);
        sPacket packet;
        while (reader.next(&packet) == cCaptureFormat::PACKET) {
            replay.add(packet, reader);
        }
        replay.finish();
    }

    Lines mFaults;
    Lines mProblems;
};

TEST_F(ReplayTest, FaultsHaveTheTimesOfTheRecording)
{
    Recording recording("Somebody 1", {"lan"});
    auto line = recording.open(kServerPort);
    recording.wait(100);
    recording.fromClient(&line, event(1));
    recording.wait(200);
    recording.fromServer(&line, answer(1));
    recording.fromClient(&line, event(2));
    play(recording, {"lose msg=event", "duplicate msg=answer"});
    EXPECT_EQ(mFaults, (Lines{"1 lose 1, 100", "1 duplicate 1, 300", "1 lose 2, 300"}));
    EXPECT_TRUE(mProblems.empty());
}

TEST_F(ReplayTest, AMessageInSeveralPacketsIsOne)
{
    Recording recording("Somebody 1", {"lan"});
    auto line = recording.open(kServerPort);
    const Bytes message = event(9);
    recording.fromClient(&line, {message.begin(), message.begin() + 5});
    recording.wait(50);
    recording.fromClient(&line, {message.begin() + 5, message.end()});
    play(recording, {"lose msg=event"});
    EXPECT_EQ(mFaults, (Lines{"1 lose 9, 50"}));
}

TEST_F(ReplayTest, TheSerialOfTheDeviceIsLearned)
{
    Recording recording("Somebody 1", {"lan"});
    auto first = recording.open(kServerPort);
    auto second = recording.open(kServerPort);
    recording.fromClient(&first, event(1, 7));
    recording.fromClient(&second, event(2, 8));
    play(recording, {"lose device=8"});
    EXPECT_EQ(mFaults, (Lines{"2 lose 2, 0"}));
}

TEST_F(ReplayTest, TheSecondConnectionOfADeviceIsItsSecond)
{
    Recording recording("Somebody 1", {"lan"});
    auto first = recording.open(kServerPort);
    recording.fromClient(&first, event(1));
    auto second = recording.open(kServerPort);
    recording.fromClient(&second, event(2));
    play(recording, {"lose reconnect=2"});
    EXPECT_EQ(mFaults, (Lines{"2 lose 2, 0"}));
}

TEST_F(ReplayTest, OtherPortsOfOtherRecordersAreNotFollowed)
{
    Recording recording("Somebody 1", {"lan"});
    auto other = recording.open(80);
    recording.fromClient(&other, event(1));
    auto line = recording.open(kServerPort);
    recording.fromClient(&line, event(2));
    play(recording, {"lose"});
    EXPECT_EQ(mFaults, (Lines{"1 lose 2, 0"}));
}

TEST_F(ReplayTest, ARecordingWithoutItsPortSaysSo)
{
    Recording recording("Somebody 1", {"lan"});
    auto other = recording.open(80);
    recording.fromClient(&other, event(1));
    play(recording, {"lose"}, 81);
    EXPECT_EQ(mProblems, (Lines{"The recording holds no connection to port 81; --port names another."}));
}

TEST_F(ReplayTest, AllPortsOfOurOwnProgramsAreFollowed)
{
    Recording recording("zulserver 1", {"zulserver"});
    auto line = recording.open(12345);
    recording.fromClient(&line, event(2));
    play(recording, {"lose"});
    EXPECT_EQ(mFaults, (Lines{"1 lose 2, 0"}));
}

TEST_F(ReplayTest, OfAProxyWhatCameInCounts)
{
    Recording recording("zulproxy 1", {"devices", "server"});
    auto device = recording.open(kProxyPort, 0, {"connection 5"});
    auto server = recording.open(kServerPort, 1, {"connection 5"});
    recording.fromClient(&device, event(1));
    recording.fromClient(&server, event(1)); // let through
    recording.fromServer(&server, answer(1));
    recording.fromServer(&device, answer(1)); // let through
    play(recording, {"lose msg=event", "duplicate msg=answer"});
    EXPECT_EQ(mFaults, (Lines{"5 lose 1, 0", "5 duplicate 1, 0"}));
}

TEST_F(ReplayTest, ConnectionsOfAProxyArePairedByTheirComments)
{
    Recording recording("zulproxy 1", {"devices", "server"});
    auto first = recording.open(kProxyPort, 0, {"connection 1"});
    auto second = recording.open(kProxyPort, 0, {"connection 2"});
    auto secondServer = recording.open(kServerPort, 1, {"connection 2"});
    auto firstServer = recording.open(kServerPort, 1, {"connection 1"});
    recording.fromClient(&first, event(1, 7));
    recording.fromClient(&second, event(2, 8));
    recording.fromServer(&firstServer, answer(3));
    recording.fromServer(&secondServer, answer(4));
    play(recording, {"lose msg=answer device=8"});
    EXPECT_EQ(mFaults, (Lines{"2 lose 4, 0"}));
}

TEST_F(ReplayTest, OtherCommentsAreNoNamesOfConnections)
{
    for (const std::string comment :
         {"connection 0", "connection 5 or so", "connection 5000000000", "reconnect"}) {
        Recording recording("zulproxy 1", {"devices", "server"});
        auto device = recording.open(kProxyPort, 0, {comment});
        auto server = recording.open(kServerPort, 1, {comment});
        recording.fromServer(&server, answer(1));
        recording.fromClient(&device, event(1));
        play(recording, {"lose"});
        EXPECT_TRUE(mFaults.empty()) << "its connection to the server is not known";
    }
}

TEST_F(ReplayTest, AProxyThatResetsOneSideHasNoOther)
{
    Recording recording("zulproxy 1", {"devices", "server"});
    auto device = recording.open(kProxyPort, 0, {"connection 1"});
    auto server = recording.open(kServerPort, 1, {"connection 1"});
    recording.resetByServer(&device);
    recording.wait(5000);
    recording.fromServer(&server, answer(1));
    play(recording, {"cut after=2", "lose"});
    EXPECT_TRUE(mFaults.empty());
}

TEST_F(ReplayTest, WhatFollowsACutDidNotHappen)
{
    Recording recording("Somebody 1", {"lan"});
    auto line = recording.open(kServerPort);
    recording.wait(500);
    recording.fromClient(&line, event(1));
    recording.wait(1000);
    recording.fromClient(&line, event(2));
    play(recording, {"cut after=1", "duplicate"});
    EXPECT_EQ(mFaults, (Lines{"1 duplicate 1, 500", "1 cut, 1000"}));
}

TEST_F(ReplayTest, ARefusedConnectionHasNoMessages)
{
    Recording recording("Somebody 1", {"lan"});
    auto first = recording.open(kServerPort);
    recording.fromClient(&first, event(1));
    auto second = recording.open(kServerPort);
    recording.fromClient(&second, event(2));
    play(recording, {"refuse count=1", "lose"});
    EXPECT_EQ(mFaults, (Lines{"1 refuse, 0", "2 lose 2, 0"}));
}

TEST_F(ReplayTest, WhatIsNotReadYetComesLater)
{
    Recording recording("Somebody 1", {"lan"});
    auto line = recording.open(kServerPort);
    recording.fromClient(&line, event(1));
    recording.wait(1000);
    recording.fromClient(&line, event(2));
    play(recording, {"accept-late ms=300", "lose"});
    EXPECT_EQ(mFaults, (Lines{"1 accept-late, 0", "1 lose 1, 300", "1 lose 2, 1000"}));
}

TEST_F(ReplayTest, AStalledSenderIsReadLater)
{
    Recording recording("Somebody 1", {"lan"});
    auto line = recording.open(kServerPort);
    recording.wait(100);
    recording.fromClient(&line, event(1));
    recording.fromServer(&line, answer(1));
    recording.wait(5000);
    recording.fromClient(&line, event(2));
    play(recording, {"stall for=2 dir=to-server", "lose"});
    EXPECT_EQ(mFaults, (Lines{"1 stall, 0", "1 lose 1, 100", "1 lose 1, 2000", "1 lose 2, 5100"}));
}

TEST_F(ReplayTest, WhatWaitsToBeReadIsBounded)
{
    Recording recording("Somebody 1", {"lan"});
    auto line = recording.open(kServerPort);
    const Bytes message = event(1);
    Bytes many;
    while (many.size() < 60000) {
        many.insert(many.end(), message.begin(), message.end());
    }
    const size_t count = Replay::kMaxWaiting / many.size() + 1;
    for (size_t i = 0; i < count; ++i) {
        recording.fromClient(&line, many);
    }
    play(recording, {"stall for=20 dir=to-server", "lose first=1"});
    EXPECT_EQ(mFaults, (Lines{"1 stall, 0", "1 lose 1, 20000"}))
        << "it is read too early, and the recording is over";
}

TEST_F(ReplayTest, AConnectionThatTheDeviceHasResetIsOver)
{
    Recording recording("Somebody 1", {"lan"});
    auto line = recording.open(kServerPort);
    recording.resetByClient(&line);
    recording.wait(5000);
    recording.open(kServerPort);
    play(recording, {"cut after=2"});
    EXPECT_TRUE(mFaults.empty());
}

TEST_F(ReplayTest, AClockThatGoesBackStandsStill)
{
    Recording recording("Somebody 1", {"lan"});
    auto line = recording.open(kServerPort);
    recording.wait(100);
    recording.fromClient(&line, event(1));
    recording.wait(-60000);
    recording.fromClient(&line, event(2));
    play(recording, {"lose"});
    EXPECT_EQ(mFaults, (Lines{"1 lose 1, 100", "1 lose 2, 100"}));
}

TEST_F(ReplayTest, TheBeginningOfTheRecordingIsThatOfTheProgram)
{
    Recording recording("Somebody 1", {"lan"});
    recording.open(kServerPort);
    recording.wait(2000);
    recording.open(kServerPort);
    play(recording, {"refuse after=1"});
    EXPECT_EQ(mFaults, (Lines{"2 refuse, 2000"}));
}

TEST_F(ReplayTest, AConnectionThatBeganBeforeTheRecordingIsSaid)
{
    Recording recording("Somebody 1", {"lan"});
    auto line = Recording::unopened(kServerPort);
    recording.fromClient(&line, event(1));
    play(recording, {"lose"});
    EXPECT_EQ(mFaults, (Lines{"1 lose 1, 0"}));
    EXPECT_EQ(
        mProblems,
        (Lines{"1 connection had begun before the recording: messages are counted from its beginning."}));
}

TEST_F(ReplayTest, BehindMissingBytesADirectionIsLeftOut)
{
    Recording recording("Somebody 1", {"lan"});
    auto line = recording.open(kServerPort);
    recording.fromClient(&line, event(1));
    Recording::skipFromClient(&line, 10);
    recording.fromClient(&line, event(2));
    recording.fromServer(&line, answer(2));
    play(recording, {"lose"});
    EXPECT_EQ(mFaults, (Lines{"1 lose 1, 0", "1 lose 2, 0"})) << "the second one is the answer";
    EXPECT_EQ(mProblems,
              (Lines{"The recording lacks bytes of 1 connection: what follows them in their direction "
                     "is left out."}));
}

TEST_F(ReplayTest, BytesThatAreNotTheProtocolAreSaidOnce)
{
    Recording recording("Somebody 1", {"lan"});
    auto line = recording.open(kServerPort);
    recording.fromClient(&line, Bytes(100, 'x'));
    recording.fromClient(&line, event(1));
    play(recording, {"lose"});
    EXPECT_TRUE(mFaults.empty());
    EXPECT_EQ(mProblems,
              (Lines{"connection 1: what the device sends is not the protocol and passes untouched."}));
}

} // namespace

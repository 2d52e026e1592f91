// Recorded packets become connections again.

#include <gtest/gtest.h>

#include "streamlines.h"

namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint8_t kSyn = sTcpFields::kSyn;
constexpr uint8_t kAck = sTcpFields::kAck;
constexpr uint8_t kFin = sTcpFields::kFin;
constexpr uint8_t kReset = sTcpFields::kReset;

class TcpStreamsTest : public testing::Test
{
protected:
    /// A packet of the client, or of the server, one nanosecond after the one before.
    void client(uint8_t flags, uint32_t sequence, const std::string& text = "", uint32_t acknowledged = 0)
    {
        add(mClient, mServer, {flags, sequence, acknowledged}, text);
    }
    void server(uint8_t flags, uint32_t sequence, const std::string& text = "", uint32_t acknowledged = 0)
    {
        add(mServer, mClient, {flags, sequence, acknowledged}, text);
    }

    void add(const sEndpoint& from, const sEndpoint& to, const sTcpFields& fields, const std::string& text,
             size_t missing = 0)
    {
        sPacket packet;
        packet.timeNs = ++mNow;
        packet.interface = mInterface;
        packet.comments = mComments;
        appendTcpPacket(&packet.bytes, from, to, fields, Bytes(text.begin(), text.end()));
        packet.wireSize = static_cast<uint32_t>(packet.bytes.size());
        packet.bytes.resize(packet.bytes.size() - missing);
        mStreams.add(packet, mDescription);
    }

    void open()
    {
        client(kSyn, 100);
        server(kSyn | kAck, 500, "", 101);
        client(kAck, 101, "", 501);
        mLines.lines.clear();
    }

    static sEndpoint end(uint8_t host, uint16_t port)
    {
        sEndpoint endpoint;
        endpoint.address = {192, 0, 2, host};
        endpoint.port = port;
        return endpoint;
    }

    using Said = std::vector<std::string>;

    sEndpoint mClient = end(1, 40000);
    sEndpoint mServer = end(2, 50000);
    sCaptureInterface mDescription{"lan", 101, 0};
    uint32_t mInterface = 0;
    std::vector<std::string> mComments;
    int64_t mNow = 0;
    StreamLines mLines;
    cTcpStreams mStreams{&mLines};
};

TEST_F(TcpStreamsTest, AConnectionIsFollowedFromItsBeginningToItsEnd)
{
    mComments = {"connection 7"};
    client(kSyn, 100);
    mComments.clear();
    server(kSyn | kAck, 500, "", 101);
    client(kAck, 101, "ab", 501);
    server(kAck, 501, "xyz", 103);
    client(kAck | kFin, 103, "c", 504);
    server(kAck | kFin, 504, "", 105);
    client(kAck, 105, "", 505);
    EXPECT_EQ(mLines.lines, (Said{"1: opened 1 \"connection 7\"", "3: 1c ab", "4: 1s xyz", "5: 1c c",
                                  "5: 1c ended", "6: 1s ended", "6: closed 1"}));
    EXPECT_EQ(mLines.streams[0].client, mClient);
    EXPECT_EQ(mLines.streams[0].server, mServer);
    EXPECT_TRUE(mLines.streams[0].isWhole);
}

TEST_F(TcpStreamsTest, WhatWasSentTwiceComesOnce)
{
    open();
    client(kAck, 101, "abc");
    client(kAck, 101, "abc");
    client(kAck, 102, "bcd");
    client(kAck, 100, "z"); // asks whether the peer is alive
    client(kAck, 105, "e");
    EXPECT_EQ(mLines.lines, (Said{"4: 1c abc", "6: 1c d", "8: 1c e"}));
}

TEST_F(TcpStreamsTest, WhatCameOutOfOrderIsPutInOrder)
{
    open();
    client(kAck, 107, "g");
    client(kAck, 103, "cde");
    client(kAck, 104, "def");
    client(kAck, 101, "ab");
    EXPECT_EQ(mLines.lines, (Said{"7: 1c ab", "7: 1c cde", "7: 1c f", "7: 1c g"}));
}

TEST_F(TcpStreamsTest, TheLongerOfTwoPiecesAtOnePlaceStays)
{
    open();
    client(kAck, 102, "b");
    client(kAck, 102, "bcd");
    client(kAck, 102, "bc");
    client(kAck, 101, "a");
    EXPECT_EQ(mLines.lines, (Said{"7: 1c a", "7: 1c bcd"}));
}

TEST_F(TcpStreamsTest, SequenceNumbersWrapAround)
{
    client(kSyn, 0xFFFFFFFD);
    client(kAck, 0xFFFFFFFE, "abc");
    client(kAck, 2, "e");
    client(kAck, 1, "d");
    client(kAck | kFin, 3, "");
    EXPECT_EQ(mLines.lines, (Said{"1: opened 1", "2: 1c abc", "4: 1c d", "4: 1c e", "5: 1c ended"}));
}

TEST_F(TcpStreamsTest, BytesThatWereAcknowledgedButNotRecordedAreTold)
{
    open();
    client(kAck, 101, "a");
    client(kAck, 105, "ef");
    server(kAck, 501, "", 102); // the hole is not acknowledged yet
    server(kAck, 501, "", 107);
    client(kAck, 107, "g");
    EXPECT_EQ(mLines.lines, (Said{"4: 1c a", "7: 1c lost 3", "7: 1c ef", "8: 1c g"}));
}

TEST_F(TcpStreamsTest, AnEndBehindBytesThatWereNotRecordedComesWithItsAcknowledgement)
{
    open();
    client(kAck | kFin, 111);
    server(kAck, 501, "", 112);
    EXPECT_EQ(mLines.lines, (Said{"5: 1c lost 10", "5: 1c ended"}));
}

TEST_F(TcpStreamsTest, AnEndWaitsForTheBytesBeforeIt)
{
    open();
    client(kAck | kFin, 103, "c");
    client(kAck, 101, "ab");
    EXPECT_EQ(mLines.lines, (Said{"5: 1c ab", "5: 1c c", "5: 1c ended"}));
}

TEST_F(TcpStreamsTest, AResetEndsBothSides)
{
    open();
    client(kAck, 102, "b");
    server(kReset, 501);
    client(kAck, 103, "c");
    EXPECT_EQ(mLines.lines, (Said{"5: 1c lost 1", "5: 1c b", "5: 1s reset", "5: closed 1"}));
}

TEST_F(TcpStreamsTest, WhatFollowsTheEndIsNoNewConnection)
{
    open();
    client(kAck | kFin, 101);
    server(kAck | kFin, 501);
    mLines.lines.clear();
    client(kAck | kFin, 101);
    client(kAck, 102, "late");
    EXPECT_TRUE(mLines.lines.empty());
}

TEST_F(TcpStreamsTest, TheSamePortsOnceMoreAreANewConnection)
{
    open();
    client(kSyn, 100); // the same one again
    client(kSyn, 9000);
    client(kAck, 9001, "a");
    EXPECT_EQ(mLines.lines, (Said{"5: closed 1", "5: opened 2", "6: 2c a"}));
}

TEST_F(TcpStreamsTest, TwoInterfacesHaveTwoConnections)
{
    client(kSyn, 100);
    mInterface = 1;
    client(kSyn, 100);
    EXPECT_EQ(mLines.lines, (Said{"1: opened 1", "2: opened 2"}));
    EXPECT_EQ(mLines.streams[1].interface, 1U);
}

TEST_F(TcpStreamsTest, OnlyConnectionsToTheServersPortAreFollowed)
{
    mStreams.setServerPort(50000);
    add(mClient, end(3, 80), {kSyn, 100, 0}, "");
    add(end(2, 50000), end(3, 80), {kSyn, 100, 0}, ""); // 50000 happens to be the client's
    client(kSyn, 100);
    EXPECT_EQ(mLines.lines, (Said{"3: opened 1"}));
}

TEST_F(TcpStreamsTest, WhoHasTheServersPortIsTheServerOfARecordingThatBeganLater)
{
    mStreams.setServerPort(50000);
    client(kAck, 700, "", 800); // without bytes nothing can be learned
    server(kAck, 800, "x", 700);
    client(kAck, 700, "a", 801);
    EXPECT_EQ(mLines.lines, (Said{"2: opened 1", "2: 1s x", "3: 1c a"}));
    EXPECT_EQ(mLines.streams[0].client, mClient);
    EXPECT_FALSE(mLines.streams[0].isWhole);
}

TEST_F(TcpStreamsTest, WithoutAPortTheLowerOneIsTheServers)
{
    mClient.port = 60000;
    client(kAck, 700, "a");
    EXPECT_EQ(mLines.streams.at(0).server, mServer);
    add(mServer, end(7, 60000), {kAck, 1, 0}, "x");
    EXPECT_EQ(mLines.streams.at(1).server, mServer);
}

TEST_F(TcpStreamsTest, AnAnswerToTheOpeningTellsTheServerToo)
{
    server(kSyn | kAck, 500, "", 101);
    server(kAck, 501, "x", 101);
    client(kAck, 101, "a", 501);
    EXPECT_EQ(mLines.lines, (Said{"1: opened 1", "2: 1s x", "3: 1c a"}));
    EXPECT_EQ(mLines.streams[0].server, mServer);
}

TEST_F(TcpStreamsTest, BytesThatTheRecorderCutAreTold)
{
    open();
    add(mClient, mServer, {kAck, 101, 0}, "abcdef", 4);
    client(kAck, 107, "g");
    EXPECT_EQ(mLines.lines, (Said{"Packets were cut when they were recorded: bytes are missing.", "4: 1c ab",
                                  "4: 1c lost 4", "5: 1c g"}));
}

TEST_F(TcpStreamsTest, EachRemarkIsMadeOnce)
{
    mDescription = {"radio", 201, 0};
    client(kSyn, 100);
    client(kSyn, 100);
    mDescription = {"", 202, 0};
    client(kSyn, 100);
    EXPECT_EQ(mLines.lines,
              (Said{"Packets of the interface \"radio\" with link type 201 are left out, as it is not known.",
                    "Packets with link type 202 are left out, as it is not known."}));
}

TEST_F(TcpStreamsTest, AtTheEndOfTheRecordingWhatWaitsIsHandedOut)
{
    open();
    client(kAck, 103, "c");
    mStreams.finish();
    EXPECT_EQ(mLines.lines, (Said{"4: 1c lost 2", "4: 1c c", "4: closed 1"}));
}

TEST_F(TcpStreamsTest, WhatWaitsIsBounded)
{
    open();
    mLines.writesBytes = false;
    const std::string piece(60000, 'x');
    constexpr size_t kFitting = cTcpStreams::kMaxWaiting / (60000 + cTcpStreams::kPieceCost);
    for (uint32_t i = 0; i < kFitting; ++i) {
        client(kAck, 102 + i * 60000, piece);
    }
    EXPECT_TRUE(mLines.lines.empty());
    client(kAck, 102 + kFitting * 60000, piece);
    EXPECT_EQ(mLines.lines.size(), 1U);
    EXPECT_TRUE(mLines.lines[0].ends_with("1c lost 1"));
    EXPECT_EQ(mLines.receivedBytes, (kFitting + 1) * 60000);
}

TEST_F(TcpStreamsTest, WhatWaitsInAllConnectionsIsBounded)
{
    mLines.writesBytes = false;
    const std::string piece(60000, 'x');
    const size_t fitting = cTcpStreams::kMaxAllWaiting / (60000 + cTcpStreams::kPieceCost);
    for (size_t i = 0; i <= fitting; ++i) {
        mClient.port = static_cast<uint16_t>(1000 + i);
        client(kSyn, 100);
        client(kAck, 102, piece);
    }
    EXPECT_EQ(mLines.receivedBytes, 60000U) << "the last one found no room";
}

TEST_F(TcpStreamsTest, ConnectionsAtOnceAreBounded)
{
    mLines.writesBytes = false;
    for (size_t i = 0; i <= cTcpStreams::kMaxStreams; ++i) {
        mClient.address[2] = static_cast<uint8_t>(i >> 14);
        mClient.port = static_cast<uint16_t>(i & 0x3FFF);
        client(kSyn, 100);
    }
    ASSERT_EQ(mLines.lines.size(), cTcpStreams::kMaxStreams + 3);
    const std::string& remark = mLines.lines[cTcpStreams::kMaxStreams];
    EXPECT_TRUE(remark.starts_with("There are more than 65,536 connections at once")) << remark;
    EXPECT_TRUE(mLines.lines[cTcpStreams::kMaxStreams + 1].ends_with("closed 1"));
}

} // namespace

// What the kinds of the message layer do to several messages, segments and rules.

#include "faultypipe.h"
#include "messages.h"

namespace proxy {

namespace {

class MessageFaultsTest : public FaultyPipeTest
{
protected:
    /// What comes out at once of @p bytes with @p rules, one a line.
    Bytes through(const std::vector<std::string>& rules, const Bytes& bytes, eDirection direction = kToServer)
    {
        start(rules).send(direction, bytes);
        return pipe().take(direction);
    }

    /// Matched and injected of rule number @p number, from 1.
    std::pair<uint64_t, uint64_t> countsOf(size_t number)
    {
        const ActiveRule& rule = *proxy().rules.all()[number - 1];
        return {rule.matched, rule.injected};
    }
};

using Counts = std::pair<uint64_t, uint64_t>;

/// The segments of @p bytes.
std::vector<Bytes> segmentsOf(const Bytes& bytes)
{
    std::vector<Bytes> segments;
    for (size_t at = 0; at < bytes.size(); at += segments.back().size()) {
        segments.push_back(part(bytes, at, wmsg::kHeaderSize + wmsg::get32(bytes.data() + at + 8)));
    }
    return segments;
}

} // namespace

TEST_F(MessageFaultsTest, loseTakesEachMessageThatMatchesAway)
{
    EXPECT_EQ(through({"lose msg=event"}, sample(1) + answer(2) + sample(3)), answer(2));
    ASSERT_EQ(pipe().faults.size(), 2U);
    EXPECT_EQ(pipe().faults[0].msgSeq, 1);
    EXPECT_EQ(pipe().faults[1].msgSeq, 3);
    EXPECT_EQ(countsOf(1), Counts(2, 2));
}

TEST_F(MessageFaultsTest, aDuplicateIsRightBehind)
{
    EXPECT_EQ(through({"duplicate first=1"}, sample(1) + sample(2)), sample(1) + sample(1) + sample(2));
}

TEST_F(MessageFaultsTest, twoRulesDuplicateToFour)
{
    EXPECT_EQ(numbersIn(through({"duplicate", "duplicate"}, sample(1))), std::vector({1, 1, 1, 1}));
}

TEST_F(MessageFaultsTest, lateLetsLaterOnesOvertake)
{
    EXPECT_EQ(through({"late ms=100 first=1"}, sample(1) + sample(2)), sample(2));
    pipe().pass(100 * kMs - 1);
    EXPECT_EQ(pipe().take(kToServer), Bytes());
    pipe().pass(1);
    EXPECT_EQ(pipe().take(kToServer), sample(1));
    EXPECT_EQ(pipe().faults.at(0).became, "100 ms later");
}

TEST_F(MessageFaultsTest, twoLateOnesKeepTheirOwnTimes)
{
    through({"late ms=100 first=1", "late ms=50 skip=1 count=1"}, sample(1) + sample(2));
    pipe().pass(60 * kMs);
    EXPECT_EQ(pipe().take(kToServer), sample(2));
    pipe().pass(40 * kMs);
    EXPECT_EQ(pipe().take(kToServer), sample(1));
}

TEST_F(MessageFaultsTest, swapPutsAMessageBehindTheNext)
{
    EXPECT_EQ(through({"swap first=1"}, sample(1)), Bytes());
    pipe().send(kToServer, sample(2));
    EXPECT_EQ(pipe().take(kToServer), sample(2) + sample(1));
}

TEST_F(MessageFaultsTest, swapOfAllMessagesSwapsPairs)
{
    EXPECT_EQ(numbersIn(through({"swap"}, sample(1) + sample(2) + sample(3) + sample(4))),
              std::vector({2, 1, 4, 3}));
    EXPECT_EQ(countsOf(1), Counts(4, 2));
}

TEST_F(MessageFaultsTest, aLostMessageIsNotTheNextOfASwap)
{
    EXPECT_EQ(numbersIn(through({"swap first=1", "lose skip=1 count=1"}, sample(1) + sample(2) + sample(3))),
              std::vector({3, 1}));
}

TEST_F(MessageFaultsTest, holdPutsAMessageBehindAsManyMore)
{
    EXPECT_EQ(numbersIn(through({"hold until=2 first=1"}, sample(1) + sample(2) + sample(3) + sample(4))),
              std::vector({2, 3, 1, 4}));
}

TEST_F(MessageFaultsTest, holdOfAllMessagesKeepsTheLastOnes)
{
    EXPECT_EQ(numbersIn(through({"hold until=2"}, sample(1) + sample(2) + sample(3) + sample(4))),
              std::vector({1, 2}));
    pipe().finish(kToServer);
    EXPECT_EQ(numbersIn(pipe().take(kToServer)), std::vector({3, 4}));
}

TEST_F(MessageFaultsTest, theEndOfTheSenderReleasesWhatWaitsForOthers)
{
    for (const char* rule : {"swap", "hold until=5", "join bytes=1000"}) {
        EXPECT_EQ(through({rule}, sample(1)), Bytes()) << rule;
        EXPECT_FALSE(pipe().connection().outputEnded(kToServer));
        pipe().finish(kToServer);
        EXPECT_EQ(pipe().take(kToServer), sample(1)) << rule;
        EXPECT_TRUE(pipe().connection().outputEnded(kToServer));
    }
}

TEST_F(MessageFaultsTest, theEndOfTheSenderPassesBehindLateMessages)
{
    through({"late ms=100", "swap"}, sample(1));
    pipe().finish(kToServer);
    EXPECT_FALSE(pipe().connection().outputEnded(kToServer));
    pipe().pass(100 * kMs);
    EXPECT_EQ(pipe().take(kToServer), sample(1));
    EXPECT_TRUE(pipe().connection().outputEnded(kToServer));
}

TEST_F(MessageFaultsTest, truncateEndsTheConnectionBehindHalfOfTheLastSegment)
{
    const Bytes message = large(1, 3000);
    const size_t last = message.size() - wmsg::kMaxSegmentSize;
    EXPECT_EQ(through({"truncate"}, message + sample(2)), part(message, 0, wmsg::kMaxSegmentSize + last / 2));
    EXPECT_EQ(pipe().connection().end(), FaultyConnection::eEnd::CUT);
    EXPECT_EQ(pipe().faults.at(0).became, std::to_string(wmsg::kMaxSegmentSize + last / 2) + " of " +
                                              std::to_string(message.size()) + " bytes");
}

TEST_F(MessageFaultsTest, truncateCutsOnlyWhenTheHalfIsWritten)
{
    FaultyProxy proxy;
    proxy.add("truncate");
    FaultyPipe pipe(&proxy);
    pipe.setReading(false);
    pipe.send(kToServer, sample(1));
    EXPECT_EQ(pipe.connection().end(), FaultyConnection::eEnd::NONE);
    pipe.setReading(true);
    EXPECT_EQ(pipe.connection().end(), FaultyConnection::eEnd::CUT);
}

TEST_F(MessageFaultsTest, allSegmentsOfAMessageAreChangedAlike)
{
    const Bytes message = large(1, 5000);
    for (const char* rule : {"wrong-number", "wrong-type", "unknown-flag"}) {
        const std::vector<Bytes> before = segmentsOf(message);
        const std::vector<Bytes> after = segmentsOf(through({rule}, message));
        ASSERT_EQ(after.size(), before.size());
        for (size_t i = 0; i < after.size(); ++i) {
            const auto change = [i](const std::vector<Bytes>& all, size_t at) { return all[i][at]; };
            for (const size_t at : {3, 4, 5}) {
                EXPECT_EQ(change(after, at) - change(before, at), after[0][at] - before[0][at]) << rule;
            }
            EXPECT_EQ(rightChecksum(after[i]), SegmentHeader(after[i].data()).checksum()) << rule;
        }
        EXPECT_NE(after, before) << rule;
        EXPECT_EQ(pipe().faults.size(), 1U);
    }
}

TEST_F(MessageFaultsTest, eachSegmentGetsAWrongChecksum)
{
    for (const Bytes& segment : segmentsOf(through({"wrong-checksum"}, large(1, 5000)))) {
        EXPECT_NE(rightChecksum(segment), SegmentHeader(segment.data()).checksum());
    }
}

TEST_F(MessageFaultsTest, emptySegmentsStandBeforeTheLastOneOfSeveral)
{
    const std::vector<Bytes> segments = segmentsOf(through({"empty-segments n=3"}, large(1, 3000)));
    ASSERT_EQ(segments.size(), 5U);
    for (size_t i = 0; i < segments.size(); ++i) {
        EXPECT_EQ(SegmentHeader(segments[i].data()).number(), i);
        EXPECT_EQ(segments[i].size() == wmsg::kHeaderSize, i >= 1 && i <= 3);
    }
    EXPECT_EQ(numbersIn(through({"empty-segments n=3"}, large(1, 3000))), std::vector({1}));
}

TEST_F(MessageFaultsTest, corruptAlwaysShowsInAChecksum)
{
    for (int seq = 0; seq < 200; ++seq) {
        const Bytes message = sample(static_cast<uint8_t>(seq));
        const Bytes after = through({"corrupt bits=" + std::to_string(1 + seq % 3)}, message);
        ASSERT_EQ(after.size(), message.size());
        EXPECT_NE(rightChecksum(after), SegmentHeader(after.data()).checksum());
        int bits = 0;
        for (size_t i = 0; i < after.size(); ++i) {
            bits += std::popcount(static_cast<uint8_t>(after[i] ^ message[i]));
        }
        EXPECT_EQ(bits, 1 + seq % 3);
    }
}

TEST_F(MessageFaultsTest, corruptOfMoreBitsThanThereAreLeavesOne)
{
    const Bytes after = through({"corrupt bits=4294967295"}, ping());
    int bits = 0;
    for (size_t i = 0; i < after.size(); ++i) {
        bits += std::popcount(static_cast<uint8_t>(after[i] ^ ping()[i]));
    }
    EXPECT_EQ(bits, 127);
}

TEST_F(MessageFaultsTest, rulesActInTheOrderInWhichTheyWereGiven)
{
    EXPECT_EQ(through({"duplicate", "lose"}, sample(1)), Bytes());
    EXPECT_EQ(pipe().faults.size(), 2U);
    EXPECT_EQ(through({"lose", "duplicate"}, sample(1)), Bytes());
    ASSERT_EQ(pipe().faults.size(), 1U);
    EXPECT_EQ(pipe().faults[0].kind, eFault::LOSE);
    EXPECT_EQ(countsOf(2), Counts(1, 0)); // it matches, but nothing is left for it
}

TEST_F(MessageFaultsTest, aChecksumStaysWrongWhateverComesBehindIt)
{
    for (const char* first : {"wrong-checksum", "corrupt bits=1"}) {
        const Bytes after = through({first, "field portNum=2"}, sample(1));
        EXPECT_NE(rightChecksum(after), SegmentHeader(after.data()).checksum()) << first;
        EXPECT_EQ(pipe().faults.size(), 2U);
    }
}

TEST_F(MessageFaultsTest, aRuleDoesNotChangeWhatAnotherOneMatches)
{
    const std::vector<std::string> rules = {"field portNum=2", "wrong-type",
                                            "field seqNum=9 port=1 msg=event"};
    Bytes payload;
    PayloadWriter writer(&payload);
    writer.beginObject(OBJ_ANALOG_SAMPLE);
    writer.putNumber(TAG_PORT_NUM, uint32_t{1});
    writer.putNumber(TAG_SEQ_NUM, uint32_t{1});
    writer.endObject();
    through(rules, event(1, payload));
    EXPECT_EQ(pipe().faults.size(), 3U);
}

TEST_F(MessageFaultsTest, aPingBetweenSegmentsIsAMessageOfItsOwn)
{
    const Bytes message = large(1, 3000);
    const Bytes first = part(message, 0, wmsg::kMaxSegmentSize);
    const Bytes rest = part(message, first.size(), message.size() - first.size());
    const Bytes bytes = first + ping() + rest;
    EXPECT_EQ(through({"lose msg=ping"}, bytes), message);
    EXPECT_EQ(through({"lose msg=event"}, bytes), ping());
    EXPECT_EQ(through({"lose type=99"}, bytes), ping() + message);
    for (const size_t size : {1, 16, 100, 2048}) {
        FaultyProxy proxy;
        proxy.add("duplicate msg=ping");
        FaultyPipe pipe(&proxy);
        pipe.sendInPieces(kToDevice, bytes, size);
        EXPECT_EQ(pipe.take(kToDevice), ping() + ping() + message) << size;
    }
}

TEST_F(MessageFaultsTest, aMessageWaitsUntilItIsWhole)
{
    const Bytes message = large(1, 3000);
    EXPECT_EQ(through({"lose type=99"}, part(message, 0, message.size() - 1)), Bytes());
    pipe().send(kToServer, part(message, message.size() - 1, 1));
    EXPECT_EQ(pipe().take(kToServer), message);
}

TEST_F(MessageFaultsTest, whatIsThereOfAMessagePassesWhenTheSenderEnds)
{
    const Bytes half = part(large(1, 3000), 0, 2500);
    EXPECT_EQ(through({"lose"}, half), Bytes());
    pipe().finish(kToServer);
    EXPECT_EQ(pipe().take(kToServer), half);
    EXPECT_TRUE(pipe().connection().outputEnded(kToServer));
}

TEST_F(MessageFaultsTest, whatIsThereOfAMessagePassesBehindLateMessages)
{
    const Bytes half = part(sample(2), 0, 20);
    through({"late ms=10 first=1"}, sample(1) + half);
    pipe().finish(kToServer);
    EXPECT_EQ(pipe().take(kToServer), Bytes());
    pipe().pass(10 * kMs);
    EXPECT_EQ(pipe().take(kToServer), sample(1) + half);
}

TEST_F(MessageFaultsTest, wrongChecksumsAndFlagsOfTheSenderAreNoReasonToStop)
{
    Bytes bad = sample(1);
    bad[15] ^= 1;
    Bytes odd = sample(2);
    odd[3] |= 0x40;
    EXPECT_EQ(through({"duplicate"}, bad + odd), bad + bad + odd + odd);
    EXPECT_TRUE(pipe().foreign.empty());
}

TEST_F(MessageFaultsTest, foreignBytesPassFromThereOnAndWhatWasHeldPassesFirst)
{
    const Bytes text(40, 'x');
    EXPECT_EQ(through({"late ms=1000", "lose skip=1"}, sample(1) + text), sample(1) + text);
    pipe().send(kToServer, sample(2));
    EXPECT_EQ(pipe().take(kToServer), sample(2));
    EXPECT_EQ(pipe().foreign, std::vector<eDirection>{kToServer});
    pipe().send(kToDevice, sample(3));
    EXPECT_EQ(pipe().take(kToDevice), Bytes()); // the other direction is still late
}

TEST_F(MessageFaultsTest, aLengthThatIsTooLargeIsForeign)
{
    Bytes bad = sample(1);
    bad[10] = 0x07;
    bad[11] = 0xF1;
    EXPECT_EQ(through({"lose"}, part(bad, 0, 10)), Bytes());
    pipe().send(kToServer, part(bad, 10, bad.size() - 10));
    EXPECT_EQ(pipe().take(kToServer), bad);
    EXPECT_EQ(pipe().foreign.size(), 1U);
}

TEST_F(MessageFaultsTest, aMessageAboveTheLimitsPassesAndTheNextOneIsFollowed)
{
    Bytes tooLarge;
    const Bytes segment = part(large(1, 3000), 0, wmsg::kMaxSegmentSize);
    while (tooLarge.size() <= wmsg::kMaxMessageBytes + 20 * wmsg::kMaxSegmentSize) {
        tooLarge = std::move(tooLarge) + segment;
    }
    const Bytes rest = part(large(1, 3000), segment.size(), large(1, 3000).size() - segment.size());
    EXPECT_EQ(through({"lose"}, tooLarge + rest + sample(2)), tooLarge + rest);
    EXPECT_EQ(pipe().faults.size(), 1U);
    FaultyProxy none;
    FaultyPipe free(&none);
    free.sendInPieces(kToServer, tooLarge + rest + sample(2, 5), 60000);
    EXPECT_EQ(free.take(kToServer), tooLarge + rest + sample(2, 5));
    EXPECT_EQ(free.connection().deviceSerial(), 5U);
}

TEST_F(MessageFaultsTest, aRuleThatComesInTheMiddleOfAMessageLeavesItAlone)
{
    FaultyProxy proxy;
    FaultyPipe pipe(&proxy);
    const Bytes message = sample(1);
    pipe.send(kToServer, part(message, 0, 20));
    proxy.add("lose", pipe.nowNs());
    pipe.followRules();
    pipe.send(kToServer, part(message, 20, message.size() - 20) + sample(2));
    EXPECT_EQ(pipe.take(kToServer), message);
    EXPECT_EQ(pipe.faults.size(), 1U);
}

TEST_F(MessageFaultsTest, whatWaitsForOthersIsBoundedAndDoesNotStopTheReading)
{
    Bytes out = through({"hold until=4000000000"}, {});
    size_t in = 0;
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(pipe().connection().wantsMore(kToServer));
        pipe().send(kToServer, large(static_cast<uint8_t>(i), 4000));
        in += large(0, 4000).size();
    }
    out = pipe().take(kToServer);
    EXPECT_LE(in - out.size(), FaultyConnection::kMaxWaiting);
    EXPECT_GE(in - out.size(), FaultyConnection::kMaxWaiting - 5000);
    EXPECT_EQ(numbersIn(out).front(), 0);
}

TEST_F(MessageFaultsTest, whatWaitsForATimeStopsItsOwnSender)
{
    for (const char* rule : {"late ms=1000", "delay ms=1000", "rate bytes=10"}) {
        through({rule}, {});
        size_t in = 0;
        while (pipe().connection().wantsMore(kToServer)) {
            pipe().send(kToServer, sample(1));
            in += sample(1).size();
        }
        EXPECT_LE(in, FaultyConnection::kMaxWaiting + 2 * sample(1).size()) << rule;
        EXPECT_TRUE(pipe().connection().wantsMore(kToDevice)) << rule;
        clearRules();
        EXPECT_TRUE(pipe().connection().wantsMore(kToServer)) << rule;
        EXPECT_EQ(pipe().take(kToServer).size(), in) << rule;
    }
}

TEST_F(MessageFaultsTest, theHoldingRulesOfADirectionShareOneBound)
{
    through({"hold until=4000000000 msg=event", "join bytes=65536 msg=get", "swap type=200"}, {});
    size_t in = 0;
    size_t out = 0;
    for (uint8_t i = 0; i < 200; ++i) {
        const Bytes bytes = i % 2 == 0 ? large(i, 1000) : request(i);
        ASSERT_TRUE(pipe().connection().wantsMore(kToServer));
        pipe().send(kToServer, bytes);
        in += bytes.size();
        out += pipe().take(kToServer).size();
        EXPECT_LE(in - out, FaultyConnection::kMaxWaiting);
    }
    EXPECT_GT(out, 0U);
    EXPECT_EQ(countsOf(1), Counts(100, 100));
    EXPECT_EQ(countsOf(2), Counts(100, 100));
}

TEST_F(MessageFaultsTest, whatIsHeldCountsWithWhatWaitsForATime)
{
    through({"hold until=4000000000 msg=event", "late ms=1000 msg=get"}, {});
    pipe().send(kToServer, large(1, 50000));
    size_t requests = 0;
    for (; pipe().connection().wantsMore(kToServer); ++requests) {
        pipe().send(kToServer, request(2));
    }
    EXPECT_LE(requests * request(2).size(), FaultyConnection::kMaxWaiting - 50000);
    EXPECT_EQ(pipe().take(kToServer), Bytes());
    pipe().pass(kSecond);
    EXPECT_TRUE(pipe().connection().wantsMore(kToServer));
    EXPECT_EQ(pipe().take(kToServer).size(), requests * request(2).size());
}

TEST_F(MessageFaultsTest, whatAMessageCostsCounts)
{
    through({"late ms=1000"}, {});
    size_t in = 0;
    for (; pipe().connection().wantsMore(kToServer); in += ping().size()) {
        pipe().send(kToServer, ping());
    }
    EXPECT_LE(in, FaultyConnection::kMaxWaiting / (ping().size() + sizeof(Parcel)) * ping().size());
}

TEST_F(MessageFaultsTest, aMessageAboveTheBoundIsHeldAsWellAndDoesNotStopTheReading)
{
    const Bytes message = large(1, 100000);
    EXPECT_EQ(through({"swap first=1", "hold until=1 first=1"}, message), Bytes());
    EXPECT_TRUE(pipe().connection().wantsMore(kToServer));
    pipe().send(kToServer, sample(2));
    pipe().send(kToServer, sample(3));
    EXPECT_EQ(numbersIn(pipe().take(kToServer)), (std::vector<int>{2, 3, 1}));
}

} // namespace proxy

// When, and in which pieces, the kinds of the bytes layer let bytes pass.

#include <optional>
#include <tuple>

#include "faultypipe.h"
#include "messages.h"

namespace proxy {

namespace {

class ByteFaultsTest : public FaultyPipeTest
{};

std::vector<size_t> sizesOf(const std::vector<Bytes>& pieces)
{
    std::vector<size_t> sizes;
    for (const Bytes& piece : pieces) {
        sizes.push_back(piece.size());
    }
    return sizes;
}

} // namespace

TEST_F(ByteFaultsTest, delayLetsEachMessagePassItsTimeAfterItWasWhole)
{
    FaultyPipe& pipe = start({"delay ms=100"});
    pipe.send(kToServer, part(sample(1), 0, 10));
    pipe.pass(30 * kMs);
    pipe.send(kToServer, part(sample(1), 10, sample(1).size() - 10));
    pipe.pass(20 * kMs);
    pipe.send(kToServer, sample(2));
    pipe.pass(80 * kMs - 1);
    EXPECT_EQ(pipe.take(kToServer), Bytes());
    pipe.pass(1);
    EXPECT_EQ(pipe.take(kToServer), sample(1));
    pipe.pass(20 * kMs - 1);
    EXPECT_EQ(pipe.take(kToServer), Bytes());
    pipe.pass(1);
    EXPECT_EQ(pipe.take(kToServer), sample(2));
    ASSERT_EQ(pipe.faults.size(), 1U);
    EXPECT_EQ(pipe.faults[0].was, "at once");
    EXPECT_EQ(pipe.faults[0].became, "100 ms later");
    EXPECT_EQ(proxy().rules.all()[0]->injected, 2U);
}

TEST_F(ByteFaultsTest, delayKeepsTheOrderWhateverTheJitter)
{
    FaultyPipe& pipe = start({"delay ms=50 jitter=50"});
    std::vector<int> expected;
    for (int i = 0; i < 200; ++i) {
        expected.push_back(i);
        pipe.send(kToServer, sample(static_cast<uint8_t>(i)));
        pipe.pass(kMs);
    }
    pipe.pass(100 * kMs);
    EXPECT_EQ(numbersIn(pipe.take(kToServer)), expected);
    EXPECT_EQ(pipe.faults.at(0).became, "50 ms later, 50 ms more or less");
}

TEST_F(ByteFaultsTest, jitterIsDrawnEvenly)
{
    // Each in a connection of its own, as messages do not overtake.
    FaultyProxy proxy;
    proxy.add("delay ms=100 jitter=20");
    double sum = 0;
    int64_t min = kSecond;
    int64_t max = 0;
    constexpr int kCount = 1000;
    for (uint32_t i = 0; i < kCount; ++i) {
        FaultyPipe pipe(&proxy);
        pipe.send(kToServer, sample(1, i));
        const int64_t due = pipe.connection().deadline();
        min = std::min(min, due);
        max = std::max(max, due);
        sum += static_cast<double>(due);
    }
    EXPECT_NEAR(sum / kCount, 100.0 * kMs, 1.0 * kMs);
    EXPECT_GE(min, 80 * kMs);
    EXPECT_LE(min, 81 * kMs);
    EXPECT_LE(max, 120 * kMs);
    EXPECT_GE(max, 119 * kMs);
}

TEST_F(ByteFaultsTest, messagesThatDoNotMatchDoNotOvertakeDelayedOnes)
{
    FaultyPipe& pipe = start({"delay ms=100 msg=event"});
    pipe.send(kToServer, answer(9));
    EXPECT_EQ(pipe.take(kToServer), answer(9));
    pipe.send(kToServer, sample(1) + answer(2));
    EXPECT_EQ(pipe.take(kToServer), Bytes());
    pipe.pass(100 * kMs);
    EXPECT_EQ(pipe.take(kToServer), sample(1) + answer(2));
}

TEST_F(ByteFaultsTest, delaysAddUp)
{
    FaultyPipe& pipe = start({"delay ms=100", "delay ms=0.5"});
    pipe.send(kToServer, sample(1));
    pipe.pass(100 * kMs + kMs / 2 - 1);
    EXPECT_EQ(pipe.take(kToServer), Bytes());
    pipe.pass(1);
    EXPECT_EQ(pipe.take(kToServer), sample(1));
}

TEST_F(ByteFaultsTest, rateIsExactOverAMinute)
{
    for (const uint32_t rate : {1U, 7U, 960U, 9600U, 1000003U}) {
        FaultyPipe& pipe = start({"rate bytes=" + std::to_string(rate)});
        const Bytes message = large(1, 3000);
        size_t out = 0;
        for (int second = 1; second <= 60; ++second) {
            while (pipe.connection().wantsMore(kToServer)) {
                pipe.send(kToServer, message);
            }
            for (int i = 0; i < 20; ++i) { // the driver refills
                pipe.pass(kSecond / 20);
                out += pipe.take(kToServer).size();
                while (pipe.connection().wantsMore(kToServer)) {
                    pipe.send(kToServer, message);
                }
            }
            EXPECT_LE(out, uint64_t{rate} * static_cast<uint64_t>(second));
            EXPECT_GE(out + rate / 100 + 1, uint64_t{rate} * static_cast<uint64_t>(second));
        }
    }
}

TEST_F(ByteFaultsTest, rateDoesNotDriftIfTheDriverIsLate)
{
    FaultyPipe& pipe = start({"rate bytes=1000"});
    for (int i = 0; i < 20; ++i) {
        pipe.send(kToServer, large(1, 2900));
    }
    size_t out = 0;
    for (int i = 0; i < 1000; ++i) {
        pipe.connection().advance(13 * kMs * (i + 1)); // a piece takes 10 ms
        while (!pipe.connection().output(kToServer).empty()) {
            const size_t size = pipe.connection().output(kToServer).size();
            EXPECT_LE(size, 10U);
            out += size;
            pipe.connection().written(kToServer, size, 13 * kMs * (i + 1));
        }
    }
    EXPECT_NEAR(static_cast<double>(out), 13000.0, 10.0);
}

TEST_F(ByteFaultsTest, rateGivesNoBurstAfterAPause)
{
    FaultyPipe& pipe = start({"rate bytes=1000"});
    pipe.send(kToServer, sample(1));
    pipe.pass(10 * kSecond);
    EXPECT_EQ(pipe.take(kToServer), sample(1));
    pipe.send(kToServer, sample(2));
    EXPECT_EQ(pipe.take(kToServer), Bytes());
    pipe.pass(10 * kMs);
    EXPECT_EQ(pipe.take(kToServer).size(), 10U);
    EXPECT_EQ(pipe.faults.size(), 1U);
    EXPECT_EQ(pipe.faults[0].became, "1000 bytes a second");
}

TEST_F(ByteFaultsTest, eachDirectionHasARateOfItsOwnAndTheSlowestCounts)
{
    FaultyPipe& pipe = start({"rate bytes=1000", "rate bytes=100 dir=to-device", "rate bytes=100000"});
    for (const eDirection direction : kDirections) {
        pipe.send(direction, large(1, 2000));
    }
    pipe.pass(kSecond);
    EXPECT_NEAR(static_cast<double>(pipe.take(kToServer).size()), 1000, 10);
    EXPECT_NEAR(static_cast<double>(pipe.take(kToDevice).size()), 100, 1);
}

TEST_F(ByteFaultsTest, sliceWritesPiecesWithPauses)
{
    FaultyPipe& pipe = start({"slice bytes=10 gap=5"});
    const Bytes message = set(1) + set(2); // 16 bytes each
    pipe.send(kToServer, message);
    EXPECT_EQ(sizesOf(pipe.takePieces(kToServer)), std::vector<size_t>{10});
    pipe.pass(5 * kMs - 1);
    EXPECT_EQ(pipe.take(kToServer), Bytes());
    pipe.pass(1);
    EXPECT_EQ(sizesOf(pipe.takePieces(kToServer)), std::vector<size_t>{6});
    pipe.pass(10 * kMs);
    EXPECT_EQ(sizesOf(pipe.takePieces(kToServer)), (std::vector<size_t>{10, 6}));
    EXPECT_EQ(pipe.faults.at(0).became, "in pieces of 10 bytes, 5 ms apart");
}

TEST_F(ByteFaultsTest, sliceDrawsSizes)
{
    FaultyPipe& pipe = start({"slice bytes=3-5"});
    const Bytes message = large(1, 5000);
    pipe.send(kToServer, message);
    std::vector<Bytes> pieces = pipe.takePieces(kToServer);
    Bytes all;
    size_t counts[6] = {};
    for (const Bytes& piece : pieces) {
        all = std::move(all) + piece;
        ASSERT_LE(piece.size(), 5U);
        ++counts[piece.size()];
    }
    EXPECT_EQ(all, message);
    for (const size_t size : {3, 4, 5}) {
        EXPECT_GT(counts[size], pieces.size() / 4);
    }
    EXPECT_LE(counts[1] + counts[2], 1U); // the last one
}

TEST_F(ByteFaultsTest, rateAndSliceActTogether)
{
    FaultyPipe& pipe = start({"rate bytes=100", "slice bytes=8"});
    pipe.send(kToServer, set(1));
    pipe.pass(159 * kMs);
    EXPECT_EQ(sizesOf(pipe.takePieces(kToServer)), (std::vector<size_t>(15, 1)));
    pipe.pass(kMs);
    EXPECT_EQ(pipe.take(kToServer).size(), 1U);
}

TEST_F(ByteFaultsTest, joinWaitsForBytesAndWritesOnePiece)
{
    FaultyPipe& pipe = start({"join bytes=40 msg=set"});
    pipe.send(kToServer, set(1));
    pipe.send(kToServer, answer(2));
    EXPECT_EQ(pipe.take(kToServer), Bytes());
    pipe.send(kToServer, set(3));
    EXPECT_EQ(pipe.takePieces(kToServer), std::vector<Bytes>{set(1) + answer(2) + set(3)});
    pipe.send(kToServer, answer(4));
    EXPECT_EQ(pipe.take(kToServer), answer(4));
    EXPECT_EQ(pipe.faults.at(0).became, "when there are 40 bytes");
}

TEST_F(ByteFaultsTest, limitCutsAfterItsBytes)
{
    FaultyPipe& pipe = start({"limit bytes=100 dir=to-server"});
    pipe.send(kToServer, sample(1)); // 48 bytes each
    pipe.send(kToDevice, sample(9));
    pipe.send(kToServer, sample(2));
    EXPECT_EQ(pipe.connection().end(), FaultyConnection::eEnd::NONE);
    EXPECT_TRUE(pipe.faults.empty());
    pipe.send(kToServer, sample(3) + sample(4));
    EXPECT_EQ(pipe.take(kToServer), sample(1) + sample(2) + part(sample(3), 0, 4));
    EXPECT_EQ(pipe.connection().end(), FaultyConnection::eEnd::CUT);
    ASSERT_EQ(pipe.faults.size(), 1U);
    EXPECT_EQ(pipe.faults[0].kind, eFault::LIMIT);
    EXPECT_EQ(pipe.faults[0].msgSeq, 3);
    EXPECT_EQ(pipe.faults[0].became, "cut after 100 bytes");
    EXPECT_EQ(proxy().rules.all()[0]->injected, 1U);
}

TEST_F(ByteFaultsTest, limitTellsTheObjectOfTheMessageThatItCuts)
{
    const std::tuple<const char*, Bytes, std::optional<uint32_t>> rows[] = {
        {"limit bytes=20", large(1, 5000), OBJ_ADHOC_EVENT},
        {"limit bytes=60", sample(1) + large(2, 5000), OBJ_ADHOC_EVENT},
        {"limit bytes=100 object=OBJ_ANALOG_SAMPLE",
         event(1, adhocPayload(kSerial, "") + samplePayload(kSerial, 1, 0.5F)) + sample(2),
         OBJ_ANALOG_SAMPLE},
        {"limit bytes=8", set(1), std::nullopt}};
    for (const auto& [rule, bytes, object] : rows) {
        FaultyPipe& pipe = start({rule});
        pipe.send(kToServer, bytes);
        ASSERT_EQ(pipe.faults.size(), 1U) << rule;
        EXPECT_EQ(pipe.faults[0].object, object) << rule;
    }
}

TEST_F(ByteFaultsTest, limitCutsAsSoonAsItsBytesHavePassed)
{
    FaultyPipe& pipe = start({"limit bytes=48"});
    pipe.send(kToServer, sample(1));
    EXPECT_EQ(pipe.take(kToServer), sample(1));
    EXPECT_EQ(pipe.connection().end(), FaultyConnection::eEnd::CUT);
}

TEST_F(ByteFaultsTest, limitOfNoBytesCutsBeforeTheFirstOneThatMatches)
{
    FaultyPipe& pipe = start({"limit bytes=0 msg=event"});
    pipe.send(kToServer, answer(1) + sample(2));
    EXPECT_EQ(pipe.take(kToServer), answer(1));
    EXPECT_EQ(pipe.connection().end(), FaultyConnection::eEnd::CUT);
}

TEST_F(ByteFaultsTest, limitCountsOnlyWhatMatches)
{
    FaultyPipe& pipe = start({"limit bytes=48 msg=event"});
    pipe.send(kToServer, answer(1) + answer(2) + answer(3) + answer(4));
    EXPECT_EQ(pipe.connection().end(), FaultyConnection::eEnd::NONE);
}

TEST_F(ByteFaultsTest, theirLinesAreOneForEachDirection)
{
    for (const char* rule : {"delay ms=1", "rate bytes=100000", "slice bytes=5", "join bytes=20"}) {
        FaultyPipe& pipe = start({rule});
        for (int i = 0; i < 5; ++i) {
            pipe.send(kToServer, sample(1));
            pipe.send(kToDevice, sample(1));
        }
        pipe.pass(kSecond);
        EXPECT_EQ(pipe.faults.size(), 2U) << rule;
        EXPECT_EQ(proxy().rules.all()[0]->matched, 10U) << rule;
        EXPECT_EQ(proxy().rules.all()[0]->injected, 10U) << rule;
    }
}

} // namespace proxy

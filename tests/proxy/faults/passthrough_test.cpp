// What passes a connection that no rule acts on.

#include "faultypipe.h"
#include "messages.h"

namespace proxy {

namespace {

std::vector<Bytes> cutIn(const Bytes& bytes, size_t size)
{
    std::vector<Bytes> pieces;
    for (size_t at = 0; at < bytes.size(); at += size) {
        const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(at);
        pieces.emplace_back(from, from + static_cast<std::ptrdiff_t>(std::min(size, bytes.size() - at)));
    }
    return pieces;
}

} // namespace

TEST(PassThroughTest, everyByteComesOutInThePieceInWhichItCame)
{
    const Bytes all = sample(1) + large(2, 5000) + ping() + sample(3);
    for (const size_t size : {1, 7, 16, 100, 2048, 100000}) {
        FaultyProxy proxy;
        FaultyPipe pipe(&proxy);
        for (const eDirection direction : kDirections) {
            pipe.sendInPieces(direction, all, size);
            EXPECT_EQ(pipe.takePieces(direction), cutIn(all, size)) << size;
        }
        EXPECT_EQ(pipe.connection().deadline(), FaultyConnection::kNever);
        EXPECT_TRUE(pipe.faults.empty());
    }
}

TEST(PassThroughTest, whatNoRuleMatchesPassesInThePieceInWhichItCame)
{
    const Bytes all = sample(1) + large(2, 5000) + ping() + sample(3);
    FaultyProxy proxy;
    for (const char* rule :
         {"lose port=4", "lose after=10", "swap msg=get", "nan msg=answer", "lose port=5"}) {
        proxy.add(rule);
    }
    FaultyPipe pipe(&proxy);
    pipe.send(kToServer, sample(1));
    pipe.takePieces(kToServer);
    pipe.send(kToServer, all);
    EXPECT_EQ(pipe.takePieces(kToServer), std::vector<Bytes>{all});
    pipe.send(kToServer, all + sample(4, kSerial, 5) + all);
    EXPECT_EQ(pipe.take(kToServer), all + all);
    EXPECT_EQ(pipe.faults.size(), 1U);
}

TEST(PassThroughTest, aMessageThatCameInTwoPartsIsFollowedByThoseBehindIt)
{
    FaultyProxy proxy;
    proxy.add("lose port=4");
    FaultyPipe pipe(&proxy);
    pipe.setReading(false);
    pipe.send(kToServer, part(sample(1), 0, 20));
    pipe.send(kToServer, part(sample(1), 20, sample(1).size() - 20));
    EXPECT_FALSE(pipe.connection().outputContinues(kToServer));
    pipe.send(kToServer, sample(2));
    EXPECT_TRUE(pipe.connection().outputContinues(kToServer));
    pipe.connection().written(kToServer, sample(1).size(), 0);
    EXPECT_FALSE(pipe.connection().outputContinues(kToServer));
}

TEST(PassThroughTest, aMessageIsNotFollowedByOneThatIsPaced)
{
    FaultyProxy proxy;
    proxy.add("rate bytes=1000 skip=1");
    FaultyPipe pipe(&proxy);
    pipe.setReading(false);
    pipe.send(kToServer, sample(1));
    pipe.send(kToServer, sample(2));
    EXPECT_FALSE(pipe.connection().output(kToServer).empty());
    EXPECT_FALSE(pipe.connection().outputContinues(kToServer));
}

TEST(PassThroughTest, theSerialNumberIsLearnedFromTheFirstMessageThatHasIt)
{
    const Bytes all = sample(1, 0xFFFFFFFF) + answer(2) + ping() + large(3, 5000, 77) + sample(4, 78);
    for (const size_t size : {1, 100, 100000}) {
        FaultyProxy proxy;
        FaultyPipe pipe(&proxy);
        pipe.send(kToDevice, sample(1, 5));
        EXPECT_FALSE(pipe.connection().deviceSerial().has_value());
        pipe.sendInPieces(kToServer, all, size);
        EXPECT_EQ(pipe.connection().deviceSerial(), 77U);
        EXPECT_EQ(pipe.connection().deviceConnection(), 1U);
        EXPECT_EQ(pipe.take(kToServer), all);
    }
}

TEST(PassThroughTest, theConnectionsOfADeviceAreCounted)
{
    FaultyProxy proxy;
    for (const uint32_t expected : {1U, 2U, 3U}) {
        FaultyPipe pipe(&proxy, expected);
        pipe.send(kToServer, sample(1));
        EXPECT_EQ(pipe.connection().deviceConnection(), expected);
    }
    FaultyPipe other(&proxy, 4);
    other.send(kToServer, sample(1, 1002));
    EXPECT_EQ(other.connection().deviceConnection(), 1U);
}

TEST(PassThroughTest, foreignBytesPassAndAreSaidOnce)
{
    const Bytes text(100, 'x');
    FaultyProxy proxy;
    FaultyPipe pipe(&proxy);
    pipe.send(kToServer, text);
    pipe.send(kToServer, text);
    EXPECT_EQ(pipe.takePieces(kToServer), (std::vector<Bytes>{text, text}));
    EXPECT_EQ(pipe.foreign, std::vector<eDirection>{kToServer});
}

TEST(PassThroughTest, anEndPassesBehindWhatCameBefore)
{
    FaultyProxy proxy;
    FaultyPipe pipe(&proxy);
    pipe.setReading(false);
    pipe.send(kToServer, part(sample(1), 0, 3));
    pipe.finish(kToServer);
    EXPECT_FALSE(pipe.connection().outputEnded(kToServer));
    pipe.setReading(true);
    EXPECT_TRUE(pipe.connection().outputEnded(kToServer));
    EXPECT_FALSE(pipe.connection().outputEnded(kToDevice));
    EXPECT_EQ(pipe.take(kToServer).size(), 3U);
}

TEST(PassThroughTest, aReceiverThatDoesNotReadStopsOnlyItsOwnSender)
{
    FaultyProxy proxy;
    FaultyPipe pipe(&proxy);
    pipe.setReading(false);
    while (pipe.connection().wantsMore(kToServer)) {
        pipe.send(kToServer, sample(1));
    }
    EXPECT_TRUE(pipe.connection().wantsMore(kToDevice));
    pipe.setReading(true);
    EXPECT_TRUE(pipe.connection().wantsMore(kToServer));
    EXPECT_LE(pipe.take(kToServer).size(), FaultyConnection::kMaxWaiting + sample(1).size());
}

} // namespace proxy

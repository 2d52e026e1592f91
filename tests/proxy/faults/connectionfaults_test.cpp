// What the kinds of the connection layer and the commands do.

#include "faultypipe.h"
#include "messages.h"

namespace proxy {

namespace {

using eEnd = FaultyConnection::eEnd;
using eAcceptance = FaultyConnection::eAcceptance;

class ConnectionFaultsTest : public FaultyPipeTest
{};

} // namespace

TEST_F(ConnectionFaultsTest, refuseTurnsTheDeviceAway)
{
    FaultyPipe& pipe = start({"refuse"});
    EXPECT_EQ(pipe.connection().acceptance(), eAcceptance::REFUSE);
    ASSERT_EQ(pipe.faults.size(), 1U);
    EXPECT_EQ(pipe.faults[0].was, "begun");
    EXPECT_EQ(pipe.faults[0].became, "refused");
    EXPECT_FALSE(pipe.faults[0].direction.has_value());
    EXPECT_EQ(pipe.faults[0].connection, 1U);
}

TEST_F(ConnectionFaultsTest, refuseCountsTheConnectionsOfTheProxy)
{
    FaultyProxy proxy;
    proxy.add("refuse skip=1 every=2 count=3");
    std::string refused;
    for (uint64_t number = 1; number <= 6; ++number) {
        FaultyPipe pipe(&proxy, number);
        refused += pipe.connection().acceptance() == eAcceptance::REFUSE ? 'x' : '.';
    }
    EXPECT_EQ(refused, ".x.x..");
    EXPECT_EQ(proxy.rules.all()[0]->matched, 6U);
    EXPECT_EQ(proxy.rules.all()[0]->injected, 2U);
}

TEST_F(ConnectionFaultsTest, refuseDrawsForEachConnection)
{
    std::string refused[2];
    for (std::string& run : refused) {
        FaultyProxy proxy;
        proxy.add("refuse p=0.5");
        for (uint64_t number = 1; number <= 100; ++number) {
            FaultyPipe pipe(&proxy, number);
            run += pipe.connection().acceptance() == eAcceptance::REFUSE ? 'x' : '.';
        }
    }
    EXPECT_EQ(refused[0], refused[1]);
    EXPECT_NEAR(static_cast<double>(std::ranges::count(refused[0], 'x')), 50, 20);
}

TEST_F(ConnectionFaultsTest, timesOfRefuseRunFromTheProgramsBeginning)
{
    FaultyProxy proxy;
    proxy.startedNs = kSecond;
    proxy.add("refuse after=2 for=3");
    std::string refused;
    for (int64_t second = 1; second <= 8; ++second) {
        FaultyPipe pipe(&proxy, 1, second * kSecond);
        refused += pipe.connection().acceptance() == eAcceptance::REFUSE ? 'x' : '.';
    }
    EXPECT_EQ(refused, "..xxx...");
}

TEST_F(ConnectionFaultsTest, acceptLateConnectsToTheServerLater)
{
    FaultyPipe& pipe = start({"accept-late ms=200"});
    EXPECT_EQ(pipe.connection().acceptance(), eAcceptance::WAIT);
    EXPECT_FALSE(pipe.connection().wantsMore(kToServer));
    EXPECT_EQ(pipe.connection().deadline(), 200 * kMs);
    pipe.pass(200 * kMs - 1);
    EXPECT_EQ(pipe.connection().acceptance(), eAcceptance::WAIT);
    pipe.pass(1);
    EXPECT_EQ(pipe.connection().acceptance(), eAcceptance::CONNECT);
    EXPECT_EQ(pipe.faults.at(0).became, "accepted 200 ms later");
}

TEST_F(ConnectionFaultsTest, acceptLateThatIsClearedConnectsAtOnce)
{
    FaultyPipe& pipe = start({"accept-late ms=200"});
    clearRules();
    EXPECT_EQ(pipe.connection().acceptance(), eAcceptance::CONNECT);
}

TEST_F(ConnectionFaultsTest, cutAndResetEndTheConnectionAtTheirTime)
{
    for (const auto& [rule, end] :
         {std::pair("cut after=1.5", eEnd::CUT), {"reset after=1.5", eEnd::RESET}}) {
        FaultyPipe& pipe = start({rule});
        EXPECT_EQ(pipe.connection().deadline(), 3 * kSecond / 2);
        pipe.pass(3 * kSecond / 2 - 1);
        EXPECT_EQ(pipe.connection().end(), eEnd::NONE);
        pipe.pass(1);
        EXPECT_EQ(pipe.connection().end(), end);
        EXPECT_EQ(pipe.connection().deadline(), FaultyConnection::kNever);
        EXPECT_EQ(pipe.faults.size(), 1U);
    }
}

TEST_F(ConnectionFaultsTest, aCutWritesWhatWasLetOutAndDropsWhatWasHeld)
{
    FaultyPipe& pipe = start({"late ms=1000 first=1", "cut after=0.5"});
    pipe.setReading(false);
    pipe.send(kToServer, sample(1) + sample(2));
    pipe.pass(kSecond / 2);
    EXPECT_EQ(pipe.connection().end(), eEnd::CUT);
    pipe.setReading(true);
    EXPECT_EQ(pipe.take(kToServer), sample(2));
    EXPECT_TRUE(pipe.connection().output(kToServer).empty());
}

TEST_F(ConnectionFaultsTest, aResetDropsAll)
{
    FaultyPipe& pipe = start({"reset after=1"});
    pipe.setReading(false);
    pipe.send(kToServer, sample(1));
    pipe.pass(kSecond);
    EXPECT_TRUE(pipe.connection().output(kToServer).empty());
    EXPECT_FALSE(pipe.connection().wantsMore(kToServer));
}

TEST_F(ConnectionFaultsTest, aRuleThatCountsEndsTheConnectionBeforeItsMessage)
{
    for (const auto& [rule, end] :
         {std::pair("cut skip=1 dir=to-server", eEnd::CUT), {"reset skip=1 dir=to-server", eEnd::RESET}}) {
        FaultyPipe& pipe = start({rule});
        pipe.send(kToDevice, sample(9) + sample(10));
        pipe.send(kToServer, sample(1));
        EXPECT_EQ(pipe.connection().end(), eEnd::NONE);
        EXPECT_EQ(pipe.take(kToServer), sample(1));
        pipe.send(kToServer, sample(2));
        EXPECT_EQ(pipe.connection().end(), end);
        EXPECT_EQ(pipe.take(kToServer), Bytes());
        EXPECT_EQ(pipe.faults.at(0).msgSeq, 2);
    }
}

TEST_F(ConnectionFaultsTest, resetPeerIsAResetAfterItsTime)
{
    FaultyPipe& pipe = start({"reset_peer timeout=300"});
    pipe.pass(300 * kMs);
    EXPECT_EQ(pipe.connection().end(), eEnd::RESET);
    EXPECT_EQ(pipe.faults.at(0).kind, eFault::RESET);
}

TEST_F(ConnectionFaultsTest, halfCloseEndsOneDirection)
{
    FaultyPipe& pipe = start({"half-close dir=to-server after=1"});
    pipe.send(kToServer, sample(1));
    pipe.pass(kSecond);
    EXPECT_TRUE(pipe.connection().outputEnded(kToServer));
    EXPECT_FALSE(pipe.connection().outputEnded(kToDevice));
    EXPECT_EQ(pipe.connection().end(), eEnd::NONE);
    pipe.send(kToServer, sample(2));
    pipe.send(kToDevice, sample(3));
    EXPECT_EQ(pipe.take(kToServer), sample(1));
    EXPECT_EQ(pipe.take(kToDevice), sample(3));
    EXPECT_TRUE(pipe.connection().wantsMore(kToServer));
    EXPECT_EQ(pipe.faults.at(0).became, "half-closed");
}

TEST_F(ConnectionFaultsTest, halfCloseWithoutADirectionEndsBoth)
{
    FaultyPipe& pipe = start({"half-close"});
    EXPECT_TRUE(pipe.connection().outputEnded(kToServer));
    EXPECT_TRUE(pipe.connection().outputEnded(kToDevice));
}

TEST_F(ConnectionFaultsTest, halfCloseThatCountsEndsTheDirectionOfItsMessage)
{
    FaultyPipe& pipe = start({"half-close skip=1"});
    pipe.send(kToDevice, sample(1) + sample(2));
    EXPECT_EQ(pipe.take(kToDevice), sample(1));
    EXPECT_TRUE(pipe.connection().outputEnded(kToDevice));
    EXPECT_FALSE(pipe.connection().outputEnded(kToServer));
}

TEST_F(ConnectionFaultsTest, silenceSwallowsUntilItIsCleared)
{
    FaultyPipe& pipe = start({"silence"});
    pipe.send(kToServer, sample(1));
    pipe.send(kToDevice, part(sample(2), 0, 30));
    pipe.pass(60 * kSecond);
    EXPECT_EQ(pipe.take(kToServer), Bytes());
    EXPECT_TRUE(pipe.connection().wantsMore(kToServer));
    pipe.send(kToDevice, part(sample(2), 30, sample(2).size() - 30));
    clearRules();
    pipe.send(kToServer, sample(3));
    pipe.send(kToDevice, sample(4));
    EXPECT_EQ(pipe.take(kToServer), sample(3));
    EXPECT_EQ(pipe.take(kToDevice), sample(4));
    ASSERT_EQ(pipe.faults.size(), 1U);
    EXPECT_EQ(pipe.faults[0].became, "silent");
}

TEST_F(ConnectionFaultsTest, silenceForATimeSwallowsWholeMessages)
{
    FaultyPipe& pipe = start({"silence after=1 for=2 dir=to-server"});
    pipe.send(kToServer, part(sample(1), 0, 20));
    pipe.pass(kSecond);
    pipe.send(kToServer, part(sample(1), 20, sample(1).size() - 20) + sample(2));
    EXPECT_EQ(pipe.take(kToServer), sample(1)); // it had begun to pass
    pipe.send(kToDevice, sample(9));
    EXPECT_EQ(pipe.take(kToDevice), sample(9));
    pipe.pass(2 * kSecond);
    pipe.send(kToServer, sample(3));
    EXPECT_EQ(pipe.take(kToServer), sample(3));
}

TEST_F(ConnectionFaultsTest, silenceSwallowsEndsUntilBothAreThere)
{
    FaultyPipe& pipe = start({"silence"});
    pipe.finish(kToServer);
    EXPECT_FALSE(pipe.connection().outputEnded(kToServer));
    EXPECT_EQ(pipe.connection().end(), eEnd::NONE);
    pipe.finish(kToDevice);
    EXPECT_EQ(pipe.connection().end(), eEnd::CUT);
}

TEST_F(ConnectionFaultsTest, anEndThatSilenceSwallowedPassesWhenItIsOver)
{
    FaultyPipe& pipe = start({"silence"});
    pipe.finish(kToServer);
    clearRules();
    EXPECT_TRUE(pipe.connection().outputEnded(kToServer));
}

TEST_F(ConnectionFaultsTest, silenceThatCountsBeginsWithItsMessage)
{
    FaultyPipe& pipe = start({"silence skip=1"});
    pipe.send(kToServer, sample(1) + sample(2) + sample(3));
    EXPECT_EQ(pipe.take(kToServer), sample(1));
    pipe.send(kToDevice, sample(4));
    EXPECT_EQ(pipe.take(kToDevice), sample(4));
    clearRules();
    pipe.send(kToServer, sample(5));
    EXPECT_EQ(pipe.take(kToServer), sample(5));
    EXPECT_EQ(pipe.faults.size(), 1U);
}

TEST_F(ConnectionFaultsTest, silenceLeavesNothingForOtherRules)
{
    FaultyPipe& pipe = start({"silence", "duplicate"});
    pipe.send(kToServer, sample(1));
    EXPECT_EQ(pipe.faults.size(), 1U);
    EXPECT_EQ(proxy().rules.all()[1]->matched, 1U);
    EXPECT_EQ(proxy().rules.all()[1]->injected, 0U);
}

TEST_F(ConnectionFaultsTest, foreignBytesAreSwallowedAndCutToo)
{
    FaultyPipe& pipe = start({"silence after=1", "cut after=2", "lose"});
    const Bytes text(40, 'x');
    pipe.send(kToServer, text);
    EXPECT_EQ(pipe.take(kToServer), text);
    pipe.pass(kSecond);
    pipe.send(kToServer, text);
    EXPECT_EQ(pipe.take(kToServer), Bytes());
    pipe.pass(kSecond);
    EXPECT_EQ(pipe.connection().end(), eEnd::CUT);
}

TEST_F(ConnectionFaultsTest, stallReadsNothingForItsTime)
{
    FaultyPipe& pipe = start({"stall for=3 after=1 dir=to-server"});
    EXPECT_TRUE(pipe.connection().wantsMore(kToServer));
    pipe.pass(kSecond);
    EXPECT_FALSE(pipe.connection().wantsMore(kToServer));
    EXPECT_TRUE(pipe.connection().wantsMore(kToDevice));
    pipe.pass(3 * kSecond - 1);
    EXPECT_FALSE(pipe.connection().wantsMore(kToServer));
    pipe.pass(1);
    EXPECT_TRUE(pipe.connection().wantsMore(kToServer));
    EXPECT_EQ(pipe.faults.at(0).became, "not read for 3 s");
}

TEST_F(ConnectionFaultsTest, stallThatIsClearedReadsAtOnce)
{
    FaultyPipe& pipe = start({"stall for=3"});
    EXPECT_FALSE(pipe.connection().wantsMore(kToServer));
    clearRules();
    EXPECT_TRUE(pipe.connection().wantsMore(kToServer));
}

TEST_F(ConnectionFaultsTest, stallThatCountsHoldsItsMessage)
{
    FaultyPipe& pipe = start({"stall for=3 skip=1 count=1"});
    pipe.send(kToServer, sample(1) + sample(2) + sample(3));
    EXPECT_EQ(pipe.take(kToServer), sample(1));
    EXPECT_FALSE(pipe.connection().wantsMore(kToServer));
    EXPECT_TRUE(pipe.connection().wantsMore(kToDevice));
    pipe.pass(3 * kSecond);
    EXPECT_EQ(pipe.take(kToServer), sample(2) + sample(3));
    EXPECT_TRUE(pipe.connection().wantsMore(kToServer));
}

TEST_F(ConnectionFaultsTest, timeoutIsSilentAndThenCuts)
{
    FaultyPipe& pipe = start({"timeout timeout=500"});
    pipe.send(kToServer, sample(1));
    pipe.pass(500 * kMs - 1);
    EXPECT_EQ(pipe.connection().end(), eEnd::NONE);
    pipe.pass(1);
    EXPECT_EQ(pipe.connection().end(), eEnd::CUT);
    EXPECT_EQ(pipe.take(kToServer), Bytes());
    ASSERT_EQ(pipe.faults.size(), 2U);
    EXPECT_EQ(pipe.faults[0].kind, eFault::SILENCE);
    EXPECT_EQ(pipe.faults[1].kind, eFault::CUT);
    EXPECT_EQ(pipe.faults[1].rule, pipe.faults[0].rule);
}

TEST_F(ConnectionFaultsTest, timeoutOfZeroNeverCuts)
{
    FaultyPipe& pipe = start({"timeout timeout=0"});
    pipe.pass(100 * kSecond);
    EXPECT_EQ(pipe.connection().end(), eEnd::NONE);
}

TEST_F(ConnectionFaultsTest, timeoutThatIsClearedNeverCuts)
{
    FaultyPipe& pipe = start({"timeout timeout=500"});
    clearRules();
    pipe.pass(kSecond);
    EXPECT_EQ(pipe.connection().end(), eEnd::NONE);
    EXPECT_EQ(pipe.connection().deadline(), FaultyConnection::kNever);
}

TEST_F(ConnectionFaultsTest, timeoutThatCountsBeginsWithItsMessage)
{
    FaultyPipe& pipe = start({"timeout timeout=500 skip=1 dir=to-server"});
    pipe.send(kToServer, sample(1));
    pipe.pass(kSecond);
    pipe.send(kToServer, sample(2));
    pipe.pass(500 * kMs);
    EXPECT_EQ(pipe.take(kToServer), sample(1));
    EXPECT_EQ(pipe.connection().end(), eEnd::CUT);
}

TEST_F(ConnectionFaultsTest, slowClosePassesAnEndLater)
{
    FaultyPipe& pipe = start({"slow_close delay=250"});
    pipe.send(kToServer, sample(1));
    pipe.finish(kToServer);
    EXPECT_EQ(pipe.take(kToServer), sample(1));
    pipe.pass(250 * kMs - 1);
    EXPECT_FALSE(pipe.connection().outputEnded(kToServer));
    pipe.pass(1);
    EXPECT_TRUE(pipe.connection().outputEnded(kToServer));
    EXPECT_EQ(pipe.faults.at(0).was, "ended");
    EXPECT_EQ(pipe.faults.at(0).became, "ended 250 ms later");
}

TEST_F(ConnectionFaultsTest, slowCloseThatIsClearedPassesTheEndAtOnce)
{
    FaultyPipe& pipe = start({"slow_close delay=250"});
    pipe.finish(kToServer);
    clearRules();
    EXPECT_TRUE(pipe.connection().outputEnded(kToServer));
}

TEST_F(ConnectionFaultsTest, aRuleOfADeviceActsWhenItIsKnown)
{
    FaultyPipe& pipe = start({"reset device=1001 after=1"});
    pipe.pass(2 * kSecond);
    EXPECT_EQ(pipe.connection().end(), eEnd::NONE);
    pipe.send(kToServer, sample(1));
    EXPECT_EQ(pipe.connection().end(), eEnd::RESET);
    EXPECT_EQ(pipe.faults.at(0).deviceSerial, 1001U);
}

TEST_F(ConnectionFaultsTest, aRuleWhoseTimeIsOverBeforeTheDeviceIsKnownNeverActs)
{
    FaultyPipe& pipe = start({"reset device=1001 for=1"});
    pipe.pass(2 * kSecond);
    pipe.send(kToServer, sample(1));
    EXPECT_EQ(pipe.connection().end(), eEnd::NONE);
    EXPECT_EQ(pipe.connection().deadline(), FaultyConnection::kNever);
}

TEST_F(ConnectionFaultsTest, aRuleThatIsAddedActsOnOpenConnectionsFromThenOn)
{
    FaultyPipe& pipe = start({});
    pipe.pass(10 * kSecond);
    proxy().add("cut after=1", pipe.nowNs());
    pipe.followRules();
    pipe.pass(kSecond - 1);
    EXPECT_EQ(pipe.connection().end(), eEnd::NONE);
    pipe.pass(1);
    EXPECT_EQ(pipe.connection().end(), eEnd::CUT);
}

TEST_F(ConnectionFaultsTest, reconnectIsOneOfTheDevicesConnections)
{
    FaultyProxy proxy;
    proxy.add("reset device=1001 reconnect=2");
    std::string ends;
    for (uint64_t number = 1; number <= 3; ++number) {
        FaultyPipe other(&proxy, 100 + number);
        other.send(kToServer, sample(1, 1002));
        FaultyPipe pipe(&proxy, number);
        pipe.send(kToServer, sample(1));
        ends += pipe.connection().end() == eEnd::RESET ? 'x' : '.';
        EXPECT_EQ(other.connection().end(), eEnd::NONE);
    }
    EXPECT_EQ(ends, ".x.");
}

TEST_F(ConnectionFaultsTest, commandsActAtOnce)
{
    for (const auto& [command, end] : {std::pair(eFault::CUT, eEnd::CUT), {eFault::RESET, eEnd::RESET}}) {
        FaultyPipe& pipe = start({});
        pipe.command(command);
        EXPECT_EQ(pipe.connection().end(), end);
        ASSERT_EQ(pipe.faults.size(), 1U);
        EXPECT_EQ(pipe.faults[0].rule, 0U);
        EXPECT_EQ(pipe.faults[0].kind, command);
    }
}

TEST_F(ConnectionFaultsTest, aCommandedSilenceLastsUntilTheConnectionEnds)
{
    FaultyPipe& pipe = start({"lose type=99"});
    pipe.command(eFault::SILENCE);
    clearRules();
    pipe.send(kToServer, sample(1));
    pipe.send(kToDevice, sample(1));
    pipe.pass(100 * kSecond);
    EXPECT_EQ(pipe.take(kToServer), Bytes());
    EXPECT_EQ(pipe.take(kToDevice), Bytes());
    EXPECT_EQ(pipe.connection().end(), eEnd::NONE);
}

} // namespace proxy

// A rule that is cleared leaves nothing stuck.

#include "faultypipe.h"
#include "messages.h"

namespace proxy {

namespace {

const Bytes kFive = sample(1) + large(2, 3000) + ping() + sample(3) + sample(4);

/// Nothing is left to do, and both senders are read.
void expectFree(FaultyPipe* pipe)
{
    EXPECT_EQ(pipe->connection().deadline(), FaultyConnection::kNever);
    EXPECT_TRUE(pipe->connection().wantsMore(kToServer));
    EXPECT_TRUE(pipe->connection().wantsMore(kToDevice));
    pipe->send(kToServer, part(sample(5), 0, 7));
    EXPECT_EQ(pipe->take(kToServer), part(sample(5), 0, 7)); // as without rules
}

class ClearingTest : public testing::TestWithParam<const char*>
{};

} // namespace

TEST_P(ClearingTest, letsEverythingGoInOrderAndAtOnce)
{
    FaultyProxy proxy;
    const uint32_t number = proxy.add(GetParam());
    FaultyPipe pipe(&proxy);
    pipe.send(kToServer, kFive);
    pipe.pass(kMs);
    const Bytes before = pipe.take(kToServer);
    EXPECT_LT(before.size(), kFive.size());
    proxy.rules.clear(number);
    pipe.followRules();
    EXPECT_EQ(before + pipe.take(kToServer), kFive);
    expectFree(&pipe);
}

INSTANTIATE_TEST_SUITE_P(AllThatHold, ClearingTest,
                         testing::Values("delay ms=1000", "delay ms=1000 jitter=1000", "late ms=1000",
                                         "late ms=1000 skip=4", "swap skip=4", "hold until=100",
                                         "join bytes=65536", "rate bytes=100", "rate bytes=1",
                                         "slice bytes=1 gap=1000", "slice bytes=2000 gap=4000000",
                                         "stall for=100 skip=1", "bandwidth rate=1", "latency latency=5000"));

TEST(ClearingRulesTest, lateMessagesComeOutInTheOrderInWhichTheyCame)
{
    for (const auto& [first, second] : {std::pair("late ms=3000 first=1", "late ms=2000 first=2"),
                                        {"late ms=3000 skip=1 count=1", "late ms=2000 first=1"}}) {
        FaultyProxy proxy;
        proxy.add(first);
        proxy.add(second);
        FaultyPipe pipe(&proxy);
        pipe.send(kToServer, sample(1) + sample(2) + sample(3));
        EXPECT_EQ(pipe.take(kToServer), sample(3));
        proxy.rules.clear();
        pipe.followRules();
        EXPECT_EQ(pipe.take(kToServer), sample(1) + sample(2));
        expectFree(&pipe);
    }
}

TEST(ClearingRulesTest, aRuleLetsGoIntoTheNextOneThatHolds)
{
    const std::vector<std::string> rules = {"late ms=1000",          "delay ms=1000",    "swap msg=ping",
                                            "hold until=1000",       "join bytes=65536", "rate bytes=1",
                                            "slice bytes=1 gap=1000"};
    FaultyProxy proxy;
    for (const std::string& rule : rules) {
        proxy.add(rule);
    }
    FaultyPipe pipe(&proxy);
    pipe.send(kToServer, kFive);
    for (uint32_t number = 1; number <= rules.size(); ++number) {
        proxy.rules.clear(number);
        pipe.followRules();
        EXPECT_EQ(pipe.take(kToServer).size(), number < 6 ? 0U : number == 6 ? 1U : kFive.size() - 1);
    }
    expectFree(&pipe);
}

TEST(ClearingRulesTest, allAtOnceLetEverythingGo)
{
    FaultyProxy proxy;
    for (const char* rule : {"late ms=1000 p=0.5", "delay ms=1000", "hold until=1000", "join bytes=65536",
                             "rate bytes=1", "slice bytes=1 gap=1000"}) {
        proxy.add(rule);
    }
    FaultyPipe pipe(&proxy);
    pipe.send(kToServer, kFive);
    proxy.rules.clear();
    pipe.followRules();
    EXPECT_EQ(pipe.take(kToServer), kFive);
    expectFree(&pipe);
}

TEST(ClearingRulesTest, theBeginningOfAMessagePassesAtOnce)
{
    FaultyProxy proxy;
    proxy.add("lose type=99");
    FaultyPipe pipe(&proxy);
    const Bytes message = large(1, 3000);
    pipe.send(kToServer, part(message, 0, 2500));
    EXPECT_EQ(pipe.take(kToServer), Bytes());
    proxy.rules.clear();
    pipe.followRules();
    EXPECT_EQ(pipe.take(kToServer), part(message, 0, 2500));
    proxy.add("lose", pipe.nowNs());
    pipe.followRules();
    pipe.send(kToServer, part(message, 2500, message.size() - 2500) + sample(2));
    EXPECT_EQ(pipe.take(kToServer), part(message, 2500, message.size() - 2500));
}

TEST(ClearingRulesTest, theSendersEndPasses)
{
    FaultyProxy proxy;
    for (const char* rule : {"late ms=1000", "delay ms=1000", "stall for=100 first=1", "rate bytes=1"}) {
        const uint32_t number = proxy.add(rule);
        FaultyPipe pipe(&proxy);
        pipe.send(kToServer, sample(1));
        pipe.finish(kToServer);
        EXPECT_FALSE(pipe.connection().outputEnded(kToServer)) << rule;
        proxy.rules.clear(number);
        pipe.followRules();
        EXPECT_EQ(pipe.take(kToServer), sample(1)) << rule;
        EXPECT_TRUE(pipe.connection().outputEnded(kToServer)) << rule;
    }
}

TEST(ClearingRulesTest, aLimitThatIsClearedCutsNothing)
{
    FaultyProxy proxy;
    const uint32_t rate = proxy.add("rate bytes=1");
    const uint32_t limit = proxy.add("limit bytes=50");
    FaultyPipe pipe(&proxy);
    pipe.send(kToServer, sample(1) + sample(2));
    proxy.rules.clear(limit);
    pipe.followRules();
    proxy.rules.clear(rate);
    pipe.followRules();
    EXPECT_EQ(pipe.take(kToServer), sample(1) + sample(2));
    EXPECT_EQ(pipe.connection().end(), FaultyConnection::eEnd::NONE);
    expectFree(&pipe);
}

TEST(ClearingRulesTest, aRuleThatTakesThePlaceOfAnotherCountsAnew)
{
    FaultyProxy proxy;
    const uint32_t number = proxy.add("lose first=1");
    FaultyPipe pipe(&proxy);
    pipe.send(kToServer, sample(1));
    proxy.rules.clear(number);
    proxy.add("lose first=1", pipe.nowNs());
    pipe.send(kToServer, sample(2) + sample(3));
    EXPECT_EQ(pipe.take(kToServer), sample(3));
}

} // namespace proxy

#include "proxy/commands/commandrunner.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "zulcommand/expectation.h"

namespace proxy {

namespace {

using zulcommand::JsonPtr;

/// A proxy with two connections of device 1001.
class FakeProxy : public ProxyControl
{
public:
    uint32_t addRule(Rule rule) override { return mRules.add(std::move(rule), 0)->number; }
    bool clearRule(uint32_t number) override { return mRules.clear(number); }
    void clearRules() override { mRules.clear(); }
    const std::vector<RulePtr>& rules() const override { return mRules.all(); }
    JsonPtr connections() const override
    {
        return JsonPtr(json_pack("[{s:i}, {s:i}]", "connection", 1, "connection", 2));
    }

    size_t command(eFault kind, std::optional<uint32_t> deviceSerial) override
    {
        commands.push_back(std::string(nameOf(kind)) + " " +
                           (deviceSerial ? std::to_string(*deviceSerial) : "all"));
        return !deviceSerial || *deviceSerial == 1001 ? 2 : 0;
    }

    std::vector<std::string> commands;

private:
    RuleSet mRules;
};

/// Standard input or a client.
struct Client
{
    Client(boost::asio::io_context& io, ProxyControl& proxy, FaultLog& faults) : runner(io, proxy, faults)
    {
        runner.onReply = [this](const JsonPtr& line) { replies.emplace_back(json_deep_copy(line.get())); };
        runner.onReady = [this] { runAll(); };
        runner.onQuit = [this] { quit = true; };
        runner.onHelp = [this](const std::string& text) { help = text; };
    }

    void submit(const std::string& line)
    {
        runner.submit(line);
        runAll();
    }

    void runAll()
    {
        while (!runner.isIdle() && !runner.isRunning()) {
            runner.runNext();
        }
    }

    const json_t* member(const char* name) const { return json_object_get(replies.back().get(), name); }
    std::string text(const char* name) const
    {
        const char* value = json_string_value(member(name));
        return value == nullptr ? "" : value;
    }
    std::string dump(const char* name) const { return zulcommand::dumped(member(name)); }

    CommandRunner runner;
    std::vector<JsonPtr> replies;
    std::string help;
    bool quit = false;
};

class ProxyRunnerTest : public testing::Test
{
protected:
    /// The status of the reply to @p line.
    std::string ask(const std::string& line) { return ask(mClient, line); }

    std::string ask(Client& client, const std::string& line)
    {
        client.submit(line);
        finish(client);
        return client.text("status");
    }

    void finish(Client& client)
    {
        while (!client.runner.isIdle()) {
            mIo.restart();
            mIo.run_one();
        }
    }

    void loseMessage(uint8_t msgSeq)
    {
        mFaults.add({.rule = 1, .kind = eFault::LOSE, .connection = 1, .msgSeq = msgSeq});
    }

    boost::asio::io_context mIo{1};
    FakeProxy mProxy;
    FaultLog mFaults;
    Client mClient{mIo, mProxy, mFaults};
};

} // namespace

TEST_F(ProxyRunnerTest, theReplyToAnAddedRuleBearsItsNumber)
{
    EXPECT_EQ(ask("rule add lose p=0.5"), "ok");
    EXPECT_EQ(mClient.dump("rule"), "1");
    EXPECT_EQ(mClient.text("event"), "reply");
    EXPECT_EQ(mClient.text("command"), "rule add lose p=0.5");
    EXPECT_EQ(ask("rule add swap"), "ok");
    EXPECT_EQ(mClient.dump("rule"), "2");
}

TEST_F(ProxyRunnerTest, aBadRuleIsNotAdded)
{
    EXPECT_EQ(ask("rule add loose"), "error");
    EXPECT_EQ(mClient.text("error"), "There is no kind \"loose\".");
    EXPECT_TRUE(mProxy.rules().empty());
}

TEST_F(ProxyRunnerTest, aThousandRulesAreAllThatAProxyTakes)
{
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(ask("rule add lose"), "ok");
    }
    EXPECT_EQ(ask("rule add lose"), "error");
    EXPECT_EQ(mClient.text("error"), "There are 1000 rules, and no room for more.");
    ask("rule clear 1");
    EXPECT_EQ(ask("rule add lose"), "ok");
}

TEST_F(ProxyRunnerTest, rulesAreListedWithTheirCounts)
{
    ask("rule add lose p=0.5");
    ask("rule add swap");
    mProxy.rules()[1]->matched = 7;
    mProxy.rules()[1]->injected = 3;
    EXPECT_EQ(ask("rule list"), "ok");
    EXPECT_EQ(mClient.dump("rules"), R"([{"rule":1,"text":"lose p=0.5","matched":0,"injected":0},)"
                                     R"({"rule":2,"text":"swap","matched":7,"injected":3}])");
}

TEST_F(ProxyRunnerTest, noRulesAreAnEmptyList)
{
    EXPECT_EQ(ask("rule list"), "ok");
    EXPECT_EQ(mClient.dump("rules"), "[]");
}

TEST_F(ProxyRunnerTest, oneRuleOrAllAreCleared)
{
    ask("rule add lose");
    ask("rule add swap");
    ask("rule add cut");
    EXPECT_EQ(ask("rule clear 2"), "ok");
    EXPECT_EQ(mProxy.rules().size(), 2U);
    EXPECT_EQ(ask("rule clear"), "ok");
    EXPECT_TRUE(mProxy.rules().empty());
}

TEST_F(ProxyRunnerTest, aRuleThatIsNotThereIsAnError)
{
    EXPECT_EQ(ask("rule clear 9"), "error");
    EXPECT_EQ(mClient.text("error"), "There is no rule 9.");
}

TEST_F(ProxyRunnerTest, connectionsAreListed)
{
    EXPECT_EQ(ask("connections"), "ok");
    EXPECT_EQ(mClient.dump("connections"), R"([{"connection":1},{"connection":2}])");
}

TEST_F(ProxyRunnerTest, connectionsAreCutResetAndSilenced)
{
    EXPECT_EQ(ask("cut"), "ok");
    EXPECT_EQ(mClient.dump("connections"), "2");
    EXPECT_EQ(ask("reset device=*"), "ok");
    EXPECT_EQ(ask("silence device=1001"), "ok");
    EXPECT_EQ(mProxy.commands, (std::vector<std::string>{"cut all", "reset all", "silence 1001"}));
}

TEST_F(ProxyRunnerTest, aDeviceThatIsNotThereIsAnError)
{
    EXPECT_EQ(ask("cut device=1002"), "error");
    EXPECT_EQ(mClient.text("error"), "There is no connection of device 1002.");
}

TEST_F(ProxyRunnerTest, aFaultThatCameBeforeIsExpected)
{
    loseMessage(7);
    EXPECT_EQ(ask("expect fault lose within=60"), "ok");
    const json_t* fault = mClient.member("fault");
    EXPECT_STREQ(json_string_value(json_object_get(fault, "event")), "fault");
    EXPECT_EQ(json_integer_value(json_object_get(fault, "msgSeq")), 7);
}

TEST_F(ProxyRunnerTest, aFaultThatComesLaterIsWaitedFor)
{
    mClient.submit("expect fault lose msgSeq=8 within=60");
    loseMessage(7);
    mIo.poll();
    EXPECT_TRUE(mClient.runner.isRunning());
    loseMessage(8);
    finish(mClient);
    EXPECT_EQ(mClient.text("status"), "ok");
    EXPECT_EQ(json_integer_value(json_object_get(mClient.member("fault"), "msgSeq")), 8);
}

TEST_F(ProxyRunnerTest, noFaultIsTakenTwice)
{
    loseMessage(7);
    EXPECT_EQ(ask("expect fault lose within=60"), "ok");
    EXPECT_EQ(ask("expect fault lose within=0.001"), "failed");
}

TEST_F(ProxyRunnerTest, aFaultThatOneClientTookIsGoneForTheOthers)
{
    Client other(mIo, mProxy, mFaults);
    mClient.submit("expect fault lose within=60");
    other.submit("expect fault lose within=60");
    loseMessage(7);
    while (mClient.replies.empty() && other.replies.empty()) {
        mIo.run_one();
    }
    mIo.poll();
    EXPECT_NE(mClient.replies.empty(), other.replies.empty());
    loseMessage(8);
    finish(mClient);
    finish(other);
    EXPECT_EQ(mClient.text("status"), "ok");
    EXPECT_EQ(other.text("status"), "ok");
}

TEST_F(ProxyRunnerTest, manyFaultsAtOnceAreFoundOneByOne)
{
    mClient.submit("expect fault lose within=60");
    mClient.submit("expect fault lose within=60");
    mClient.submit("expect fault lose within=60");
    loseMessage(1);
    loseMessage(2);
    loseMessage(3);
    finish(mClient);
    ASSERT_EQ(mClient.replies.size(), 3U);
    for (const JsonPtr& reply : mClient.replies) {
        EXPECT_STREQ(json_string_value(json_object_get(reply.get(), "status")), "ok");
    }
    EXPECT_TRUE(mFaults.all().empty());
}

TEST_F(ProxyRunnerTest, anExpectationThatIsNotMetSaysWhatCameInstead)
{
    EXPECT_EQ(ask("expect fault late within=0.001"), "failed");
    EXPECT_EQ(mClient.text("error"), "No such fault \"late\" came within 0.001 seconds; nothing else came.");
    loseMessage(7);
    EXPECT_EQ(ask("expect fault late within=0.001"), "failed");
    EXPECT_EQ(mClient.text("error"),
              "No such fault \"late\" came within 0.001 seconds; 1 other came instead.");
    EXPECT_EQ(json_array_size(mClient.member("came")), 1U);
    for (uint8_t msgSeq = 0; msgSeq < 20; ++msgSeq) {
        loseMessage(msgSeq);
    }
    EXPECT_EQ(ask("expect fault late within=0.001"), "failed");
    EXPECT_EQ(json_array_size(mClient.member("came")), zulcommand::kMaxInstead);
    EXPECT_EQ(json_integer_value(json_object_get(json_array_get(mClient.member("came"), 9), "msgSeq")), 19);
}

TEST_F(ProxyRunnerTest, forgetDropsTheFaultsSoFar)
{
    loseMessage(7);
    EXPECT_EQ(ask("forget"), "ok");
    EXPECT_EQ(ask("expect fault lose within=0.001"), "failed");
}

TEST_F(ProxyRunnerTest, aSleepEnds)
{
    EXPECT_EQ(ask("sleep 0.001"), "ok");
    EXPECT_EQ(ask("sleep 0"), "ok");
}

TEST_F(ProxyRunnerTest, aFaultDoesNotEndASleep)
{
    mClient.submit("sleep 86400");
    loseMessage(7);
    mIo.poll();
    EXPECT_TRUE(mClient.runner.isRunning());
}

TEST_F(ProxyRunnerTest, commandsRunOneAfterTheOther)
{
    mClient.submit("expect fault lose within=60");
    mClient.submit("rule add swap");
    mIo.poll();
    EXPECT_TRUE(mClient.replies.empty());
    EXPECT_TRUE(mProxy.rules().empty());
    loseMessage(7);
    finish(mClient);
    ASSERT_EQ(mClient.replies.size(), 2U);
    EXPECT_EQ(mClient.text("command"), "rule add swap");
}

TEST_F(ProxyRunnerTest, blankLinesAndCommentsAreSkipped)
{
    mClient.submit("");
    mClient.submit("  # slow");
    EXPECT_TRUE(mClient.runner.isIdle());
    EXPECT_TRUE(mClient.replies.empty());
}

TEST_F(ProxyRunnerTest, theHelpIsInItsReply)
{
    EXPECT_EQ(ask("help"), "ok");
    EXPECT_EQ(mClient.text("text"), commandHelp());
    EXPECT_EQ(mClient.help, commandHelp());
}

TEST_F(ProxyRunnerTest, quitIsAnsweredAndEndsWhatWaits)
{
    mClient.runner.submit("quit");
    mClient.runner.submit("rule add lose");
    mClient.runAll();
    EXPECT_TRUE(mClient.quit);
    EXPECT_EQ(mClient.replies.size(), 1U);
    EXPECT_EQ(mClient.text("status"), "ok");
    EXPECT_TRUE(mClient.runner.isIdle());
}

TEST_F(ProxyRunnerTest, isFullWithAThousandLines)
{
    for (size_t i = 1; i < CommandRunner::kMaxWaiting; ++i) {
        mClient.runner.submit("rule list");
    }
    EXPECT_FALSE(mClient.runner.full());
    mClient.runner.submit("rule list");
    EXPECT_TRUE(mClient.runner.full());
}

TEST_F(ProxyRunnerTest, aRunnerMayEndWhileItWaits)
{
    {
        Client other(mIo, mProxy, mFaults);
        other.submit("expect fault lose within=60");
        loseMessage(7);
    }
    loseMessage(8);
    mIo.restart();
    mIo.poll();
    EXPECT_EQ(mFaults.all().size(), 2U);
}

} // namespace proxy

#include "proxy/app/options.h"

#include <fstream>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

namespace {

using proxy::Options;
using proxy::ParsedOptions;

ParsedOptions parse(std::vector<const char*> words)
{
    words.insert(words.begin(), "zulproxy");
    return proxy::parseOptions(static_cast<int>(words.size()), words.data(), "zulproxy 1");
}

/// The sentence about what is wrong with the command line.
std::string mistake(const std::vector<const char*>& words)
{
    const ParsedOptions parsed = parse(words);
    EXPECT_FALSE(parsed.options);
    EXPECT_EQ(parsed.exitStatus, 1);
    EXPECT_EQ(parsed.output, "");
    return parsed.error;
}

/// A file that goes away again.
class RuleFile
{
public:
    explicit RuleFile(const std::string& content)
    {
        ::close(::mkstemp(mPath));
        std::ofstream(mPath) << content;
    }
    ~RuleFile() { ::unlink(mPath); }
    const char* path() const { return mPath; }

private:
    char mPath[32] = "/tmp/zulproxytest-XXXXXX";
};

const std::vector<const char*> kAddresses{"--listen", "127.0.0.1:0", "--server", "localhost:50000"};

std::vector<const char*> with(std::vector<const char*> words)
{
    words.insert(words.begin(), kAddresses.begin(), kAddresses.end());
    return words;
}

} // namespace

TEST(ProxyOptionsTest, addressesAreRead)
{
    const ParsedOptions parsed = parse({"--listen", "[::1]:51000", "--server", "kernel.example:50000"});
    ASSERT_TRUE(parsed.options);
    EXPECT_EQ(parsed.options->listenAddress, "::1");
    EXPECT_EQ(parsed.options->listenPort, 51000);
    EXPECT_EQ(parsed.options->server.host, "kernel.example");
    EXPECT_EQ(parsed.options->server.port, 50000);
}

TEST(ProxyOptionsTest, aListeningPortOfZeroPicksOne)
{
    EXPECT_EQ(parse(with({})).options->listenPort, 0);
    EXPECT_EQ(parse({"--listen", "127.0.0.1:10", "--server", "a:1"}).options->listenPort, 10);
}

TEST(ProxyOptionsTest, addressesAreNeeded)
{
    EXPECT_EQ(mistake({"--server", "a:1"}), "zulproxy: --listen ADDRESS:PORT is needed.\n");
    EXPECT_EQ(mistake({"--listen", "127.0.0.1:0"}), "zulproxy: --server HOST:PORT is needed.\n");
}

TEST(ProxyOptionsTest, wrongAddressesAreNamed)
{
    EXPECT_EQ(mistake({"--listen", "here", "--server", "a:1"}),
              "zulproxy: --listen is not ADDRESS:PORT: \"here\".\n");
    EXPECT_EQ(mistake({"--listen", "a:65536", "--server", "a:1"}),
              "zulproxy: --listen is not ADDRESS:PORT: \"a:65536\".\n");
    EXPECT_EQ(mistake({"--listen", "a:0", "--server", "a:0"}),
              "zulproxy: --server is not HOST:PORT: \"a:0\".\n");
}

TEST(ProxyOptionsTest, rulesStandInTheOrderOfTheCommandLine)
{
    const RuleFile file("# the second and the third\nlate ms=2\n\n  swap\n");
    const ParsedOptions parsed =
        parse(with({"--rule", "lose", "--rules", file.path(), "--rule", "duplicate"}));
    ASSERT_TRUE(parsed.options) << parsed.error;
    std::vector<std::string> texts;
    for (const proxy::Rule& rule : parsed.options->rules) {
        texts.push_back(rule.text);
    }
    EXPECT_EQ(texts, (std::vector<std::string>{"lose", "late ms=2", "swap", "duplicate"}));
}

TEST(ProxyOptionsTest, aWrongRuleIsOneSentenceThatNamesTheWord)
{
    const std::string sentence = mistake(with({"--rule", "lose evry=2"}));
    EXPECT_TRUE(sentence.starts_with("zulproxy: --rule: ")) << sentence;
    EXPECT_NE(sentence.find("\"evry\""), std::string::npos) << sentence;
    EXPECT_EQ(sentence.find('\n'), sentence.size() - 1);
}

TEST(ProxyOptionsTest, aWrongRuleOfAFileNamesItsLine)
{
    const RuleFile file("lose\n# a comment\nlose evry=2\n");
    const std::string sentence = mistake(with({"--rules", file.path()}));
    EXPECT_TRUE(sentence.starts_with("zulproxy: " + std::string(file.path()) + ":3: ")) << sentence;
}

TEST(ProxyOptionsTest, moreThanAThousandRulesAreTooMany)
{
    std::string rules;
    for (int i = 0; i < 1000; ++i) {
        rules += "lose\n";
    }
    const RuleFile file(rules);
    EXPECT_EQ(parse(with({"--rules", file.path()})).options->rules.size(), 1000U);
    EXPECT_EQ(mistake(with({"--rules", file.path(), "--rule", "lose"})),
              "zulproxy: --rule and --rules give 1001 rules, more than 1000.\n");
}

TEST(ProxyOptionsTest, aFileThatCannotBeReadIsNamed)
{
    EXPECT_EQ(mistake(with({"--rules", "/no/such/file"})),
              "zulproxy: --rules: Cannot read \"/no/such/file\": No such file or directory.\n");
}

TEST(ProxyOptionsTest, theSeedIsChosenByChanceUnlessGiven)
{
    EXPECT_EQ(parse(with({"--seed", "7"})).options->seed, 7U);
    const uint32_t seed = parse(with({})).options->seed;
    bool differs = false;
    for (int i = 0; i < 100 && !differs; ++i) {
        differs = parse(with({})).options->seed != seed;
    }
    EXPECT_TRUE(differs);
}

TEST(ProxyOptionsTest, theWordsBehindTwoDashesAreTheCommand)
{
    const ParsedOptions parsed =
        parse({"--server", "a:1", "--", "zulbench", "--server", "{proxy}", "--", "x"});
    ASSERT_TRUE(parsed.options) << parsed.error;
    EXPECT_EQ(parsed.options->command,
              (std::vector<std::string>{"zulbench", "--server", "{proxy}", "--", "x"}));
    EXPECT_EQ(parsed.options->listenAddress, "127.0.0.1");
    EXPECT_EQ(parsed.options->listenPort, 0);
    EXPECT_EQ(mistake({"--server", "a:1", "--"}), "zulproxy: -- needs a command behind it.\n");
}

TEST(ProxyOptionsTest, aWordThatIsNoOptionIsAMistake)
{
    EXPECT_NE(mistake(with({"zulbench"})).find("zulbench"), std::string::npos);
    EXPECT_NE(mistake(with({"--rul", "lose"})).find("--rul"), std::string::npos);
}

TEST(ProxyOptionsTest, aDryRunNeedsNoAddresses)
{
    const ParsedOptions parsed =
        parse({"--dry-run", "--against", "day.pcapng", "--port", "50001", "--rule", "lose"});
    ASSERT_TRUE(parsed.options) << parsed.error;
    EXPECT_TRUE(parsed.options->dryRun);
    EXPECT_EQ(parsed.options->against, "day.pcapng");
    EXPECT_EQ(parsed.options->port, 50001U);
}

TEST(ProxyOptionsTest, aDryRunDoesNothingElse)
{
    EXPECT_EQ(mistake({"--dry-run"}), "zulproxy: --dry-run needs --against CAPTURE.\n");
    EXPECT_EQ(mistake(with({"--against", "a"})), "zulproxy: --against needs --dry-run.\n");
    EXPECT_EQ(mistake(with({"--port", "1"})), "zulproxy: --port needs --dry-run.\n");
    EXPECT_EQ(mistake({"--dry-run", "--against", "a", "--control", "b"}),
              "zulproxy: --dry-run takes no --control.\n");
    EXPECT_EQ(mistake({"--dry-run", "--against", "a", "--", "b"}),
              "zulproxy: --dry-run starts no command.\n");
}

TEST(ProxyOptionsTest, helpAndVersionAreStandardOutput)
{
    for (const char* word : {"--help", "--version"}) {
        const ParsedOptions parsed = parse({word});
        EXPECT_EQ(parsed.exitStatus, 0);
        EXPECT_EQ(parsed.error, "");
        EXPECT_NE(parsed.output.find("zulproxy"), std::string::npos);
    }
}

#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "server/app/options.h"
#include "server/io/jsonline.h"

using server::ParsedOptions;
using server::parseOptions;

namespace {

ParsedOptions parse(std::vector<const char*> arguments)
{
    arguments.insert(arguments.begin(), "zulserver");
    return parseOptions(static_cast<int>(arguments.size()), arguments.data(), "the version");
}

} // namespace

TEST(OptionsTest, defaults)
{
    const ParsedOptions parsed = parse({});
    ASSERT_TRUE(parsed.options);
    EXPECT_EQ(parsed.options->listen, "127.0.0.1");
    EXPECT_EQ(parsed.options->port, 50000);
    EXPECT_FALSE(parsed.options->commandsGiven);
    EXPECT_FALSE(parsed.options->count);
    EXPECT_FALSE(parsed.options->timeout);
    EXPECT_FALSE(parsed.options->capture);
    EXPECT_FALSE(parsed.options->portFile);
    EXPECT_TRUE(parsed.options->quiet.empty());
}

TEST(OptionsTest, allOfThem)
{
    const ParsedOptions parsed =
        parse({"--listen", "::1", "--port=0", "--count", "3", "--timeout", "0.5", "--command", "wait device",
               "--command", "quit", "--capture", "link.pcapng", "--port-file", "server.port", "--verbose"});
    ASSERT_TRUE(parsed.options) << parsed.error;
    EXPECT_EQ(parsed.options->listen, "::1");
    EXPECT_EQ(parsed.options->port, 0);
    EXPECT_EQ(parsed.options->count, 3U);
    EXPECT_EQ(parsed.options->timeout, 0.5);
    EXPECT_TRUE(parsed.options->commandsGiven);
    EXPECT_EQ(parsed.options->commands, (std::vector<std::string>{"wait device", "quit"}));
    EXPECT_EQ(parsed.options->capture, "link.pcapng");
    EXPECT_EQ(parsed.options->portFile, "server.port");
    EXPECT_TRUE(parsed.options->verbose);
}

TEST(OptionsTest, everyEventMayBeLeftOut)
{
    for (const char* event : server::kEvents) {
        const ParsedOptions parsed = parse({"--quiet", event, "--quiet=message"});
        ASSERT_TRUE(parsed.options) << parsed.error;
        EXPECT_EQ(parsed.options->quiet, (std::vector<std::string>{event, "message"}));
    }
    EXPECT_EQ(parse({"--quiet", "events"}).error, "zulserver: --quiet: there is no event \"events\".\n");
}

TEST(OptionsTest, theFilesCommandsComeAfterTheOthers)
{
    char path[] = "/tmp/zulserver-commands-XXXXXX";
    ::close(::mkstemp(path));
    std::ofstream(path) << "# a comment\n\nget device\nquit";
    const ParsedOptions parsed = parse({"--commands", path, "--command", "wait device"});
    std::remove(path);
    ASSERT_TRUE(parsed.options) << parsed.error;
    EXPECT_EQ(parsed.options->commands,
              (std::vector<std::string>{"wait device", "# a comment", "", "get device", "quit"}));
}

TEST(OptionsTest, anEmptyFileOfCommandsIsStillOne)
{
    const ParsedOptions parsed = parse({"--commands", "/dev/null"});
    ASSERT_TRUE(parsed.options) << parsed.error;
    EXPECT_TRUE(parsed.options->commandsGiven);
    EXPECT_TRUE(parsed.options->commands.empty());
}

TEST(OptionsTest, helpAndVersionAreNoMistake)
{
    for (const char* option : {"--help", "--version"}) {
        const ParsedOptions parsed = parse({option});
        EXPECT_FALSE(parsed.options);
        EXPECT_EQ(parsed.exitStatus, 0);
        EXPECT_NE(parsed.output, "");
        EXPECT_EQ(parsed.error, "");
    }
    EXPECT_EQ(parse({"--version"}).output, "the version\n");
}

class WrongOptionsTest : public testing::TestWithParam<std::vector<const char*>>
{};

TEST_P(WrongOptionsTest, areOneLineAndStatusOne)
{
    const ParsedOptions parsed = parse(GetParam());
    EXPECT_FALSE(parsed.options);
    EXPECT_EQ(parsed.exitStatus, 1);
    EXPECT_EQ(parsed.output, "");
    EXPECT_EQ(parsed.error.rfind("zulserver: ", 0), 0U);
    EXPECT_EQ(parsed.error.find('\n'), parsed.error.size() - 1);
}

using Arguments = std::vector<const char*>;

INSTANTIATE_TEST_SUITE_P(
    all, WrongOptionsTest,
    testing::Values(Arguments{"--foo"}, Arguments{"extra"}, Arguments{"--port"}, Arguments{"--port", "65536"},
                    Arguments{"--port", "-1"}, Arguments{"--port", "http"}, Arguments{"--port", ""},
                    Arguments{"--count", "0"}, Arguments{"--count", "1.5"}, Arguments{"--timeout", "0"},
                    Arguments{"--timeout", "-1"}, Arguments{"--timeout", "nan"},
                    Arguments{"--timeout", "1,5"}, Arguments{"--quiet", "events"}, Arguments{"--quiet", ""},
                    Arguments{"--quiet"}, Arguments{"--listen", ""}, Arguments{"--command"},
                    Arguments{"--capture"}, Arguments{"--commands", "/nonexistent/file"},
                    Arguments{"--commands", "/"}, Arguments{"--commands", "/dev/zero"}));

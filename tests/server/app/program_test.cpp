// The program itself: its standard streams and exit statuses.

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <ostream>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "junitfile.h"
#include "linecatcher.h"
#include "pipedprogram.h"
#include "rawdevice.h"

namespace {

/// A running zulserver.
class Program : public PipedProgram
{
public:
    explicit Program(const std::vector<std::string>& arguments, rlim_t mostFiles = 0, rlim_t grantedFiles = 0)
        : PipedProgram(ZULSERVER_PATH, arguments, mostFiles, grantedFiles)
    {}
};

std::vector<std::string> withFreePort(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), {"--port", "0"});
    return arguments;
}

/// A file that goes away again.
class TemporaryFile
{
public:
    explicit TemporaryFile(const std::string& content)
    {
        ::close(::mkstemp(mPath));
        std::ofstream(mPath) << content;
    }
    ~TemporaryFile() { std::remove(mPath); }
    const char* path() const { return mPath; }

private:
    char mPath[32] = "/tmp/zulservertest-XXXXXX";
};

} // namespace

TEST(ProgramTest, listensFirstAndEndsOnSignals)
{
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        Program program(withFreePort({}));
        const zulcommand::JsonPtr line = program.lines().next();
        EXPECT_EQ(member(line, "event"), "listening");
        EXPECT_EQ(member(line, "address"), "127.0.0.1");
        program.signal(number);
        EXPECT_EQ(program.wait(), 0);
    }
}

TEST(ProgramTest, linesOfAnEventAreLeftOut)
{
    Program program(withFreePort({"--quiet", "listening", "--quiet", "reply", "--command", "sleep 0"}));
    EXPECT_EQ(program.wait(), 0);
    std::string line;
    EXPECT_FALSE(program.lines().nextText(&line)) << line;
}

TEST(ProgramTest, anEventThatDoesNotExistIsOneSentence)
{
    Program program(withFreePort({"--quiet", "messages"}));
    std::string line;
    ASSERT_TRUE(program.errors().nextText(&line));
    EXPECT_EQ(line, "zulserver: --quiet: there is no event \"messages\".");
    EXPECT_FALSE(program.errors().nextText(&line)) << line;
    EXPECT_EQ(program.wait(), 1);
}

TEST(ProgramTest, aHangupThatTheCallerIgnoresDoesNotEndIt)
{
    const auto before = std::signal(SIGHUP, SIG_IGN);
    Program program(withFreePort({}));
    std::signal(SIGHUP, before);
    program.lines().next("listening");
    program.signal(SIGHUP);
    program.type("sleep 0\nquit\n");
    EXPECT_EQ(member(program.lines().next("reply"), "status"), "ok");
    EXPECT_EQ(program.wait(), 0);
}

TEST(ProgramTest, aSignalEndsItInTheMiddleOfACommandToo)
{
    Program program(withFreePort({"--command", "foo", "--command", "wait device timeout=1000"}));
    program.lines().next("reply");
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0);
}

TEST(ProgramTest, aFailedExpectationOutlivesASignalAndTheCount)
{
    Program program(
        withFreePort({"--command", "expect event within=0.01", "--command", "wait device timeout=1000"}));
    program.lines().next("reply");
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 4);

    Program counting(withFreePort({"--count", "1"}));
    RawDevice device(counting.port());
    counting.type("expect event within=0.01\n");
    counting.lines().next("reply");
    device.identify(1);
    device.send(inputEvent(1));
    EXPECT_EQ(counting.wait(), 4);
}

TEST(ProgramTest, theReportIsWrittenWhenTheCommandsAreDone)
{
    const JunitFile file;
    Program program(withFreePort({"--junit", file.path(), "--command", "case one", "--command", "sleep 0",
                                  "--command", "case two", "--command", "expect event within=0.01"}));
    EXPECT_EQ(program.wait(), 4);
    EXPECT_EQ(file.mistakes(), "");
    EXPECT_EQ(file.number("count(//testcase)"), 2);
    EXPECT_EQ(file.message("two", "failure"), "No event came within 0.01 seconds; nothing else came.");
    EXPECT_NE(file.text("string(//testcase[1]/system-out)").find("\"command\":\"sleep 0\""),
              std::string::npos);
}

TEST(ProgramTest, theReportIsWrittenAfterASignal)
{
    const JunitFile file;
    Program program(withFreePort({"--junit", file.path(), "--command", "sleep 0", "--command",
                                  "wait device timeout=1000", "--command", "get din"}));
    program.lines().next("reply");
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0);
    EXPECT_EQ(file.mistakes(), "");
    EXPECT_EQ(file.message("wait device timeout=1000", "skipped"),
              "The run ended before this command was done.");
    EXPECT_EQ(file.message("get din", "skipped"), "The run ended before this command began.");
}

TEST(ProgramTest, theReportIsWrittenWhenTheTimeIsOver)
{
    const JunitFile file;
    Program inCommand(withFreePort(
        {"--junit", file.path(), "--timeout", "0.05", "--command", "sleep 1000", "--command", "help"}));
    EXPECT_EQ(inCommand.wait(), 3);
    EXPECT_EQ(file.mistakes(), "");
    EXPECT_EQ(file.message("sleep 1000", "error"), "The time of the whole run is over.");
    EXPECT_EQ(file.message("help", "skipped"), "The run ended before this command began.");
    EXPECT_EQ(file.number("count(//testcase)"), 2);

    Program idle(withFreePort({"--junit", file.path(), "--timeout", "0.05"}));
    EXPECT_EQ(idle.wait(), 3);
    EXPECT_EQ(file.mistakes(), "");
    EXPECT_EQ(file.message("the run", "error"), "The time of the whole run is over.");
}

TEST(ProgramTest, theReportIsWrittenAfterSoManyMessagesAndAfterQuit)
{
    const JunitFile file;
    Program counting(withFreePort({"--junit", file.path(), "--count", "1"}));
    RawDevice device(counting.port());
    device.identify(1);
    device.send(inputEvent(7));
    EXPECT_EQ(counting.wait(), 0);
    EXPECT_EQ(file.mistakes(), "");
    EXPECT_EQ(file.number("count(//testcase)"), 0);
    EXPECT_NE(file.text("string(//testsuite/system-out)").find("\"portId\":7"), std::string::npos);

    Program quitting(withFreePort({"--junit", file.path(), "--command", "quit", "--command", "help"}));
    EXPECT_EQ(quitting.wait(), 0);
    EXPECT_EQ(file.mistakes(), "");
    EXPECT_EQ(file.number("count(//testcase[@name=\"quit\"]/skipped)"), 0);
    EXPECT_EQ(file.number("count(//testcase[@name=\"help\"]/skipped)"), 1);
}

TEST(ProgramTest, theReportIsWrittenWhenTheServerFails)
{
    const JunitFile file;
    Program first(withFreePort({}));
    Program second({"--junit", file.path(), "--command", "sleep 0", "--port", std::to_string(first.port())});
    EXPECT_EQ(second.wait(), 1);
    EXPECT_EQ(file.mistakes(), "");
    EXPECT_NE(file.message("the run", "error").find("Address already in use"), std::string::npos);
    EXPECT_EQ(file.number("count(//testcase[@name=\"sleep 0\"]/skipped)"), 1);

    Program unread(withFreePort({"--junit", file.path()}));
    unread.port();
    unread.lines().close();
    unread.type("sleep 0\n");
    EXPECT_EQ(unread.wait(), 1);
    EXPECT_EQ(file.mistakes(), "");
    EXPECT_EQ(file.message("the run", "error"), "Standard output cannot be written: Broken pipe.");
}

TEST(ProgramTest, aReportThatCannotBeWrittenIsOneSentenceBeforeAnythingElse)
{
    for (const std::string path : {"/nonexistent/report.xml", "/tmp", "/dev/null"}) {
        Program program(withFreePort({"--junit", path, "--command", "sleep 1000"}));
        std::string line;
        ASSERT_TRUE(program.errors().nextText(&line));
        EXPECT_EQ(line.rfind("zulserver: The report \"" + path + "\" cannot be written: ", 0), 0U) << line;
        EXPECT_FALSE(program.errors().nextText(&line)) << line;
        EXPECT_FALSE(program.lines().nextText(&line)) << line;
        EXPECT_EQ(program.wait(), 1);
    }
}

TEST(ProgramTest, aReportThatCannotBeWrittenAtTheEndIsToldToo)
{
    const JunitFile file;
    Program program(withFreePort({"--junit", file.path()}));
    program.port();
    std::filesystem::remove_all(std::filesystem::path(file.path()).parent_path());
    program.signal(SIGTERM);
    std::string line;
    ASSERT_TRUE(program.errors().nextText(&line));
    EXPECT_EQ(line,
              "zulserver: The report \"" + file.path() + "\" cannot be written: No such file or directory.");
    EXPECT_EQ(program.wait(), 1);
}

TEST(ProgramTest, thePortFileIsThereWhileItListens)
{
    const TemporaryFile file("before");
    const auto content = [&file] {
        std::ifstream stream(file.path());
        return std::string(std::istreambuf_iterator<char>(stream), {});
    };
    for (const int number : {SIGTERM, SIGINT, SIGHUP, 0}) {
        Program program(withFreePort({"--port-file", file.path()}));
        const uint16_t port = program.port();
        EXPECT_EQ(content(), std::to_string(port) + "\n");
        if (number == 0) {
            program.type("quit\n");
        } else {
            program.signal(number);
        }
        EXPECT_EQ(program.wait(), 0);
        EXPECT_FALSE(std::filesystem::exists(file.path())) << number;
    }
    Program unread(withFreePort({"--port-file", file.path()}));
    unread.port();
    unread.lines().close();
    unread.type("sleep 0\n");
    EXPECT_EQ(unread.wait(), 1);
    EXPECT_FALSE(std::filesystem::exists(file.path()));
}

TEST(ProgramTest, aServerThatCannotListenLeavesThePortFileAlone)
{
    const TemporaryFile file("before");
    Program first(withFreePort({}));
    Program second({"--port-file", file.path(), "--port", std::to_string(first.port())});
    EXPECT_EQ(second.wait(), 1);
    EXPECT_EQ(std::filesystem::file_size(file.path()), 6U);
}

TEST(ProgramTest, aPortFileThatCannotBeWrittenIsOneSentenceBeforeAnythingElse)
{
    for (const std::string path : {"/nonexistent/port", "/tmp", "/dev/null"}) {
        Program program(withFreePort({"--port-file", path, "--command", "sleep 1000"}));
        std::string line;
        ASSERT_TRUE(program.errors().nextText(&line));
        EXPECT_EQ(line.rfind("zulserver: The port file \"" + path + "\" cannot be written: ", 0), 0U) << line;
        EXPECT_FALSE(program.errors().nextText(&line)) << line;
        EXPECT_FALSE(program.lines().nextText(&line)) << line;
        EXPECT_EQ(program.wait(), 1);
    }
}

TEST(ProgramTest, aServerThatDoesNotListenLeavesTheCaptureAlone)
{
    const TemporaryFile file("before");
    Program first(withFreePort({}));
    for (const std::vector<std::string>& wrong :
         {std::vector<std::string>{"--port", std::to_string(first.port())},
          std::vector<std::string>{"--port", "0", "--junit", "/nonexistent/report.xml"},
          std::vector<std::string>{"--port", "0", "--port-file", "/nonexistent/port"}}) {
        std::vector<std::string> arguments = {"--capture", file.path()};
        arguments.insert(arguments.end(), wrong.begin(), wrong.end());
        Program second(arguments);
        EXPECT_EQ(second.wait(), 1);
        EXPECT_EQ(std::filesystem::file_size(file.path()), 6U) << wrong.back();
    }
}

TEST(ProgramTest, everyLineHasTheTime)
{
    const auto now = [] {
        return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    };
    const double before = now();
    Program program(withFreePort({}));
    const zulcommand::JsonPtr listening = program.lines().next();
    program.type("quit\n");
    const zulcommand::JsonPtr reply = program.lines().next();
    EXPECT_EQ(program.wait(), 0);
    double last = before;
    for (const zulcommand::JsonPtr* line : {&listening, &reply}) {
        const double time = json_real_value(json_object_get(line->get(), "time"));
        EXPECT_GE(time, last - 1e-6);
        last = time;
    }
    EXPECT_LE(last, now() + 1e-6);
}

TEST(ProgramTest, theEndOfTheInputEndsNothing)
{
    Program program(withFreePort({}));
    const uint16_t port = program.port();
    program.type("sleep 0"); // without a line end
    program.endInput();
    EXPECT_EQ(member(program.lines().next(), "command"), "sleep 0");
    RawDevice device(port);
    device.identify(3);
    EXPECT_EQ(member(program.lines().next("device"), "deviceSerial"), "3");
    program.signal(SIGINT);
    EXPECT_EQ(program.wait(), 0);
}

struct StatusRow
{
    const char* name;
    std::vector<std::string> arguments;
    int status;
};

void PrintTo(const StatusRow& row, std::ostream* out) { *out << row.name; }

class ExitStatusTest : public testing::TestWithParam<StatusRow>
{};

TEST_P(ExitStatusTest, isAsDocumented)
{
    Program program(withFreePort(GetParam().arguments));
    EXPECT_EQ(program.wait(), GetParam().status);
}

INSTANTIATE_TEST_SUITE_P(
    all, ExitStatusTest,
    testing::Values(
        StatusRow{"ok", {"--command", "sleep 0"}, 0},
        StatusRow{"noCommandAtAll", {"--commands", "/dev/null"}, 0}, StatusRow{"wrongOption", {"--foo"}, 1},
        StatusRow{"noSuchFile", {"--commands", "/nonexistent/x"}, 1},
        StatusRow{"noSuchAddress", {"--listen", "203.0.113.1"}, 1},
        StatusRow{"noAddress", {"--listen", "not an address"}, 1},
        StatusRow{"error", {"--command", "get device", "--command", "sleep 0"}, 2},
        StatusRow{"timeout", {"--command", "wait event timeout=0.01"}, 3},
        StatusRow{
            "timeoutWinsOverError", {"--command", "wait event timeout=0.01", "--command", "get device"}, 3},
        StatusRow{"quit", {"--command", "foo", "--command", "quit", "--command", "wait device"}, 2},
        StatusRow{"failed", {"--command", "expect event within=0.01"}, 4},
        StatusRow{"failedWinsOverAll",
                  {"--command", "expect event within=0.01", "--command", "wait event timeout=0.01",
                   "--command", "foo"},
                  4},
        StatusRow{"failedAndTheWholeRun",
                  {"--timeout", "0.2", "--command", "expect event within=0.01", "--command", "sleep 1000"},
                  4},
        StatusRow{"noEventIsFine", {"--command", "expect no event within=0.01"}, 0},
        StatusRow{"noSuchReport", {"--junit", "/nonexistent/x", "--command", "sleep 0"}, 1},
        StatusRow{"wholeRun", {"--timeout", "0.05"}, 3},
        StatusRow{"wholeRunInACommand", {"--timeout", "0.05", "--command", "wait device timeout=1000"}, 3},
        StatusRow{
            "wholeRunInAnExpectation", {"--timeout", "0.05", "--command", "expect event within=1000"}, 3},
        StatusRow{"help", {"--help"}, 0}, StatusRow{"version", {"--version"}, 0}),
    [](const testing::TestParamInfo<StatusRow>& row) { return row.param.name; });

TEST(ProgramTest, theRunningCommandIsAnsweredWhenTheRunTimesOut)
{
    Program program(withFreePort({"--timeout", "0.05", "--command", "sleep 1000", "--command", "help"}));
    const zulcommand::JsonPtr reply = program.lines().next("reply");
    EXPECT_EQ(member(reply, "command"), "sleep 1000");
    EXPECT_EQ(member(reply, "status"), "timeout");
    EXPECT_EQ(member(reply, "error"), "The time of the whole run is over.");
    EXPECT_FALSE(program.lines().next());
    EXPECT_EQ(program.wait(), 3);
}

TEST(ProgramTest, aPortInUseIsOneSentence)
{
    Program first(withFreePort({}));
    Program second({"--port", std::to_string(first.port())});
    std::string line;
    ASSERT_TRUE(second.errors().nextText(&line));
    EXPECT_NE(line.find("Address already in use"), std::string::npos) << line;
    EXPECT_FALSE(second.errors().nextText(&line));
    EXPECT_FALSE(second.lines().nextText(&line));
    EXPECT_EQ(second.wait(), 1);
}

TEST(ProgramTest, anotherAddressThanLoopbackIsMentioned)
{
    Program program(withFreePort({"--listen", "0.0.0.0", "--command", "sleep 0"}));
    std::string line;
    ASSERT_TRUE(program.errors().nextText(&line));
    EXPECT_EQ(line.rfind("zulserver: Listening at 0.0.0.0: other machines can reach", 0), 0U) << line;
    EXPECT_EQ(program.wait(), 0);
}

TEST(ProgramTest, endsAfterSoManyMessages)
{
    Program program(withFreePort({"--count", "3"}));
    RawDevice device(program.port());
    program.type("foo\n");
    program.lines().next("reply");
    for (uint32_t port = 1; port <= 5; ++port) {
        device.send(inputEvent(port));
    }
    device.identify(1);
    for (int i = 1; i <= 3; ++i) {
        EXPECT_EQ(object(program.lines().next("message"), 0, "portId"), std::to_string(i));
    }
    EXPECT_FALSE(program.lines().next()) << "nothing comes after the third";
    EXPECT_EQ(program.wait(), 0);
}

TEST(ProgramTest, commandsComeFromAFile)
{
    const TemporaryFile file(
        "# Comments and blank lines are skipped.\r\n\n   \nsleep 0\r\n  help  \n\t# end\nfoo");
    Program program(withFreePort({"--commands", file.path(), "--command", "sleep 0.001"}));
    program.type("get device\n");
    program.lines().next("listening");
    for (const char* command : {"sleep 0.001", "sleep 0", "help", "foo"}) {
        EXPECT_EQ(member(program.lines().next(), "command"), command);
    }
    EXPECT_FALSE(program.lines().next());
    EXPECT_EQ(program.wait(), 2);
}

TEST(ProgramTest, aReaderThatGoesAwayEndsItQuietly)
{
    Program program(withFreePort({}));
    program.port();
    program.lines().close();
    program.type("sleep 0\n");
    std::string line;
    ASSERT_TRUE(program.errors().nextText(&line));
    EXPECT_EQ(line, "zulserver: Standard output cannot be written: Broken pipe.");
    EXPECT_EQ(program.wait(), 1);
}

TEST(ProgramTest, aReaderThatNeverReadsDoesNotKeepItFromEnding)
{
    Program program(withFreePort({}));
    RawDevice device(program.port());
    device.identify(1);
    program.lines().next("device");
    for (uint32_t port = 1; port <= 2000; ++port) {
        device.send(inputEvent(port));
    }
    device.send(WMsg::ping(false));
    device.waitForPing();
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0);
}

// UBSan looks at an object through a pipe of its own, and takes it for a broken one if it gets none.
#ifndef __SANITIZE_ADDRESS__
TEST(ProgramTest, tooFewDescriptorsToBeginWithAreOneSentence)
{
    int status = 1;
    int refused = 0;
    for (rlim_t mostFiles = 5; status != 0 && mostFiles < 40; ++mostFiles) {
        SCOPED_TRACE(mostFiles);
        Program program(withFreePort({"--command", "sleep 0"}), mostFiles);
        status = program.wait();
        ASSERT_TRUE(status == 0 || status == 1) << status;
        std::string line;
        if (status == 1) {
            ++refused;
            ASSERT_TRUE(program.errors().nextText(&line));
            EXPECT_NE(line.find("Too many open files"), std::string::npos) << line;
            EXPECT_FALSE(program.errors().nextText(&line)) << line;
        }
    }
    EXPECT_EQ(status, 0);
    EXPECT_GT(refused, 0);
}

TEST(ProgramTest, itTakesAsManyDescriptorsAsItIsGranted)
{
    Program program(withFreePort({}), 24, 200);
    const uint16_t port = program.port();
    std::vector<std::unique_ptr<RawDevice>> devices;
    for (uint32_t serial = 1; serial <= 100; ++serial) {
        devices.push_back(std::make_unique<RawDevice>(port));
        devices.back()->identify(serial);
    }
    for (size_t i = 0; i < devices.size(); ++i) {
        EXPECT_EQ(member(program.lines().next("device"), "event"), "device");
    }
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0);
    std::string line;
    EXPECT_FALSE(program.errors().nextText(&line)) << line;
}

TEST(ProgramTest, tooManyConnectionsAreOneReportAndServiceGoesOn)
{
    Program program(withFreePort({}), 24);
    const uint16_t port = program.port();
    RawDevice early(port);
    early.identify(1);
    const auto expectService = [&] {
        program.type("get device\n");
        early.answer(early.receive(), {});
        EXPECT_EQ(member(program.lines().next("reply"), "status"), "ok");
    };
    program.lines().next("device");
    expectService();
    std::vector<std::unique_ptr<RawDevice>> crowd;
    for (int i = 0; i < 30; ++i) {
        crowd.push_back(std::make_unique<RawDevice>(port));
    }
    std::string line;
    ASSERT_TRUE(program.errors().nextText(&line));
    EXPECT_EQ(line, "zulserver: New connections cannot be accepted for now: Too many open files.");
    expectService();
    crowd.clear();
    RawDevice late(port);
    late.identify(99);
    EXPECT_EQ(member(program.lines().next("device"), "deviceSerial"), "99");
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0);
    EXPECT_FALSE(program.errors().nextText(&line)) << line;
}
#endif

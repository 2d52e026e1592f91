// The program itself, with zulserver at the other end.

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "zulcommand/jsontext.h"

namespace {

using zulcommand::JsonPtr;

/// A process with what it writes in files.
class Process
{
public:
    /// @p command is one of the shell; the shell gives way to the program.
    Process(const std::string& command, const std::filesystem::path& output)
    {
        mId = ::fork();
        if (mId == 0) {
            const auto redirect = [](const std::string& path, int to) {
                ::dup2(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), to);
            };
            redirect(output.string() + ".out", STDOUT_FILENO);
            redirect(output.string() + ".err", STDERR_FILENO);
            ::execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            std::_Exit(127);
        }
    }
    ~Process()
    {
        if (mId > 0) {
            ::kill(mId, SIGKILL);
            waitForEnd();
        }
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    void signal(int number) const { ::kill(mId, number); }

    int waitForEnd()
    {
        int status = 0;
        ::waitpid(mId, &status, 0);
        mId = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t mId = -1;
};

std::string contentOf(const std::filesystem::path& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

class FleetProgramTest : public testing::Test
{
protected:
    FleetProgramTest()
    {
        std::string pattern = std::filesystem::temp_directory_path() / "zulfleetXXXXXX";
        mDirectory = ::mkdtemp(pattern.data());
    }
    ~FleetProgramTest() override
    {
        mServer.reset();
        std::filesystem::remove_all(mDirectory);
    }

    /// Returns HOST:PORT of a server.
    std::string server()
    {
        const std::string portFile = mDirectory / "port";
        mServer = std::make_unique<Process>("exec " ZULSERVER_PATH " --port 0 --port-file '" + portFile +
                                                "' --command 'sleep 1000'",
                                            mDirectory / "server");
        EXPECT_TRUE(waitFor([&] { return !contentOf(portFile).empty(); }));
        std::string port = contentOf(portFile);
        port.erase(port.find_last_not_of('\n') + 1);
        return "127.0.0.1:" + port;
    }

    static bool waitFor(const std::function<bool()>& holds)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!holds() && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return holds();
    }

    std::unique_ptr<Process> start(const std::string& arguments, const std::string& before = "")
    {
        std::filesystem::remove(mDirectory / "fleet.err"); // of an earlier run
        return std::make_unique<Process>(before + "exec " ZULFLEET_PATH " " + arguments,
                                         mDirectory / "fleet");
    }

    int run(const std::string& arguments, const std::string& before = "")
    {
        return start(arguments, before)->waitForEnd();
    }

    std::string output() const { return contentOf(mDirectory / "fleet.out"); }
    std::string errors() const { return contentOf(mDirectory / "fleet.err"); }
    std::string reportPath() const { return mDirectory / "report.json"; }
    JsonPtr report() const { return JsonPtr(json_loads(contentOf(reportPath()).c_str(), 0, nullptr)); }

    int64_t reported(const char* part, const char* name) const
    {
        return json_integer_value(json_object_get(json_object_get(report().get(), part), name));
    }

    std::filesystem::path mDirectory;
    std::unique_ptr<Process> mServer;
};

} // namespace

TEST_F(FleetProgramTest, aRunEndsWithATableAndAReport)
{
    EXPECT_EQ(run("--server " + server() +
                  " --count 20 --din 2 --seed 9 --events 100 --duration 500ms --require 20 --run-id night "
                  "--report " +
                  reportPath()),
              0);
    EXPECT_NE(output().find("seed 9"), std::string::npos);
    EXPECT_EQ(errors(), "");
    EXPECT_EQ(reported("devices", "in"), 20);
    EXPECT_EQ(reported("devices", "lost"), 0);
    EXPECT_EQ(reported("events", "planned"), 50);
    EXPECT_EQ(reported("events", "sent"), 50);
    EXPECT_GT(reported("limits", "descriptors"), 20);
    EXPECT_STREQ(json_string_value(json_object_get(report().get(), "run")), "night");
}

TEST_F(FleetProgramTest, standardErrorCarriesJsonLinesUnlessItIsATerminal)
{
    EXPECT_EQ(run("--server " + server() + " --count 3 --progress 100ms --duration 1s"), 0);
    std::istringstream lines(errors());
    size_t count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        const JsonPtr json(json_loads(line.c_str(), 0, nullptr));
        for (const char* name : {"in", "connecting", "down", "eventsPerSecond", "late", "seconds"}) {
            EXPECT_TRUE(json_is_number(json_object_get(json.get(), name))) << line;
        }
    }
    EXPECT_GE(count, 3U);
}

TEST_F(FleetProgramTest, fewerDevicesThanRequiredEndItWithStatus4)
{
    EXPECT_EQ(run("--server 127.0.0.1:1 --count 2 --duration 50ms --require 1 --report " + reportPath()), 4);
    EXPECT_EQ(reported("devices", "in"), 0);
}

TEST_F(FleetProgramTest, anEventThatStillWaitsEndsItWithStatus4)
{
    EXPECT_EQ(run("--server 127.0.0.1:1 --count 2 --events 100 --duration 100ms --report " + reportPath()),
              4);
    EXPECT_EQ(reported("events", "waiting"), 10);
}

TEST_F(FleetProgramTest, aSignalEndsItInOrder)
{
    const std::string address = server();
    for (const int signal : {SIGINT, SIGTERM}) {
        const auto fleet =
            start("--server " + address + " --count 5 --progress 50ms --report " + reportPath());
        ASSERT_TRUE(waitFor([this] { return errors().find("\"in\":5") != std::string::npos; }));
        const auto begun = std::chrono::steady_clock::now();
        fleet->signal(signal);
        EXPECT_EQ(fleet->waitForEnd(), 0);
        EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(2));
        EXPECT_EQ(reported("devices", "in"), 5);
        EXPECT_EQ(reported("devices", "lost"), 0);
    }
}

TEST_F(FleetProgramTest, aReportThatCannotBeWrittenIsToldBeforeAnythingConnects)
{
    EXPECT_EQ(run("--server 127.0.0.1:1 --count 1 --report /nowhere/report.json"), 1);
    EXPECT_EQ(errors().rfind("zulfleet: ", 0), 0U);
    EXPECT_NE(errors().find("/nowhere/report.json"), std::string::npos);
    EXPECT_EQ(output(), "");
}

TEST_F(FleetProgramTest, tooFewDescriptorsAreToldBeforeAnythingConnects)
{
    EXPECT_EQ(run("--server 127.0.0.1:1 --count 100", "ulimit -n 64; "), 1);
    EXPECT_EQ(errors(), "zulfleet: 100 devices need 132 descriptors and the system permits 64: raise the "
                        "limit with ulimit -n "
                        "or LimitNOFILE=.\n");
}

TEST_F(FleetProgramTest, theSoftLimitOfDescriptorsIsRaised)
{
    EXPECT_EQ(run("--server " + server() + " --count 100 --duration 50ms --require 100", "ulimit -Sn 64; "),
              0);
}

TEST_F(FleetProgramTest, wrongUsageIsOneSentence)
{
    EXPECT_EQ(run("--server 127.0.0.1:1 --count 0"), 1);
    EXPECT_EQ(errors(), "zulfleet: --count is not a whole number from 1 to 10000000: \"0\".\n");
}

TEST_F(FleetProgramTest, devicesConnectFromTheAddressesInTurn)
{
    EXPECT_EQ(
        run("--server " + server() + " --count 4 --bind 127.0.0.2,127.0.0.3 --duration 50ms --require 4"), 0);
    const std::string lines = contentOf(mDirectory / "server.out");
    EXPECT_NE(lines.find("\"peer\":\"127.0.0.2:"), std::string::npos);
    EXPECT_NE(lines.find("\"peer\":\"127.0.0.3:"), std::string::npos);
    EXPECT_EQ(lines.find("\"peer\":\"127.0.0.1:"), std::string::npos);
}

TEST_F(FleetProgramTest, aServerWithoutAnAddressIsTold)
{
    EXPECT_EQ(run("--server nobody.invalid:1 --count 1"), 1);
    EXPECT_EQ(errors(), "zulfleet: the server's name has no address: nobody.invalid.\n");
}

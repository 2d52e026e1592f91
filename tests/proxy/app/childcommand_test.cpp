#include "proxy/app/childcommand.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using proxy::ChildCommand;
using Words = std::vector<std::string>;

sigset_t noSignals()
{
    sigset_t none;
    sigemptyset(&none);
    return none;
}

/// The exit status of @p script, which a shell runs.
int statusOf(const std::string& script)
{
    ChildCommand child;
    EXPECT_EQ(child.start({"/bin/sh", "-c", script}, noSignals()), 0);
    siginfo_t ended{};
    ::waitid(P_ALL, 0, &ended, WEXITED | WNOWAIT);
    const std::optional<int> status = child.takeStatus();
    EXPECT_FALSE(child.isRunning());
    EXPECT_FALSE(child.takeStatus());
    return status.value_or(-1);
}

} // namespace

TEST(ChildCommandTest, theAddressStandsForEveryPlaceInAWord)
{
    EXPECT_EQ(
        ChildCommand::wordsFor({"a", "{proxy}", "x={proxy},y={proxy}", "{prox}", "proxy"}, "127.0.0.1:7"),
        (Words{"a", "127.0.0.1:7", "x=127.0.0.1:7,y=127.0.0.1:7", "{prox}", "proxy"}));
}

TEST(ChildCommandTest, theExitStatusIsHandedOn)
{
    EXPECT_EQ(statusOf("exit 0"), 0);
    EXPECT_EQ(statusOf("exit 42"), 42);
}

TEST(ChildCommandTest, aSignalIs128AndItsNumber) { EXPECT_EQ(statusOf("kill -TERM $$"), 128 + SIGTERM); }

TEST(ChildCommandTest, aCommandThatIsNotThereIs127)
{
    ChildCommand child;
    EXPECT_EQ(child.start({"/no/such/program"}, noSignals()), ChildCommand::kNotFound);
    EXPECT_EQ(child.start({"no-such-program-on-the-path"}, noSignals()), ChildCommand::kNotFound);
    EXPECT_FALSE(child.isRunning());
}

TEST(ChildCommandTest, aCommandThatCannotBeRunIs126)
{
    ChildCommand child;
    EXPECT_EQ(child.start({std::filesystem::temp_directory_path()}, noSignals()), ChildCommand::kCannotRun);
}

TEST(ChildCommandTest, theCommandHasItsSignalsAsUsual)
{
    const auto former = std::signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(statusOf("kill -PIPE $$; exit 3"), 128 + SIGPIPE);
    std::signal(SIGPIPE, former);
}

#include "zulconsole/controlsocket.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "linecatcher.h"
#include "zulconsole/controlclient.h"

using zulcommand::LineRunner;
using zulconsole::ControlClient;
using zulconsole::ControlSocket;

namespace {

/// Answers every line with itself; "wait" is answered when the test says so.
class EchoRunner : public LineRunner
{
public:
    bool isRunning() const override { return mRunning; }

    void endWait()
    {
        mRunning = false;
        answer("wait");
        onReady();
    }

private:
    void begin(std::string line) override
    {
        mRunning = line == "wait";
        if (!mRunning) {
            answer(line);
        }
        if (line == "quit") {
            onQuit();
        }
    }

    void answer(const std::string& line)
    {
        onReply(zulcommand::JsonPtr(json_pack("{s:s, s:s}", "event", "reply", "command", line.c_str())));
    }

    bool mRunning = false;
};

class ControlSocketTest : public testing::Test
{
protected:
    ControlSocketTest()
    {
        EXPECT_EQ(mSocket.listen(mPath), "");
        mSocket.onQuit = [this] { mQuit = true; };
        mSocket.onClients = [this](bool hasClients) { mHasClients = hasClients; };
    }

    ~ControlSocketTest() override { std::filesystem::remove_all(mFolder); }

    static std::string makeFolder()
    {
        std::string pattern = std::filesystem::temp_directory_path() / "zulconsole-XXXXXX";
        return ::mkdtemp(pattern.data());
    }

    /// A connected client's descriptor.
    int connect() const { return connect(mPath); }

    static int connect(const std::string& path)
    {
        const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        return fd;
    }

    static void type(int fd, const std::string& text)
    {
        EXPECT_EQ(::send(fd, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    }

    /// Runs the event loop until @p holds.
    void runUntil(const std::function<bool()>& holds)
    {
        while (!holds()) {
            mIo.restart();
            mIo.run_one();
        }
    }

    static size_t unread(int fd)
    {
        char data[65536];
        const ssize_t size = ::recv(fd, data, sizeof data, MSG_PEEK | MSG_DONTWAIT);
        return size < 0 ? 0 : static_cast<size_t>(size);
    }

    /// The "command" of the next reply.
    std::string reply(int fd, LineCatcher* lines)
    {
        runUntil([&] { return unread(fd) > 0; });
        return member(lines->next("reply"), "command");
    }

    const std::string mFolder = makeFolder();
    const std::string mPath = mFolder + "/control";
    boost::asio::io_context mIo{1};
    EchoRunner* mRunner = nullptr; ///< that of the last client
    ControlSocket mSocket{mIo, [this] {
                              auto runner = std::make_unique<EchoRunner>();
                              mRunner = runner.get();
                              return runner;
                          }};
    bool mQuit = false;
    bool mHasClients = false;
};

} // namespace

TEST_F(ControlSocketTest, eachClientGetsItsOwnReplies)
{
    const int first = connect();
    const int second = connect();
    LineCatcher firstLines(first);
    LineCatcher secondLines(second);
    type(first, "one\n");
    type(second, "two\n");
    EXPECT_EQ(reply(first, &firstLines), "one");
    EXPECT_EQ(reply(second, &secondLines), "two");
    EXPECT_EQ(unread(first), 0U);
}

TEST_F(ControlSocketTest, everyClientGetsEveryEvent)
{
    const int first = connect();
    const int second = connect();
    LineCatcher firstLines(first);
    LineCatcher secondLines(second);
    type(first, "one\n");
    type(second, "two\n");
    reply(first, &firstLines);
    reply(second, &secondLines);
    mSocket.writeLine(zulcommand::JsonPtr(json_pack("{s:s, s:i}", "event", "fault", "rule", 3)));
    EXPECT_EQ(member(firstLines.next("fault"), "rule"), "3");
    EXPECT_EQ(member(secondLines.next("fault"), "rule"), "3");
}

TEST_F(ControlSocketTest, commandsAfterOneThatWaitsAreAnsweredInTheirOrder)
{
    const int client = connect();
    LineCatcher lines(client);
    type(client, "wait\nnext\n");
    runUntil([this] { return mRunner != nullptr && mRunner->isRunning(); });
    mRunner->endWait();
    runUntil([this] { return mRunner->isIdle(); });
    EXPECT_EQ(member(lines.next("reply"), "command"), "wait");
    EXPECT_EQ(member(lines.next("reply"), "command"), "next");
}

TEST_F(ControlSocketTest, aClientThatEndsItsInputStillGetsItsReplies)
{
    const int client = connect();
    LineCatcher lines(client);
    type(client, "last line without an end");
    ::shutdown(client, SHUT_WR);
    EXPECT_EQ(reply(client, &lines), "last line without an end");
    runUntil([this] { return !mHasClients; });
    mIo.poll(); // what still holds the client
    EXPECT_EQ(lines.next(), nullptr);
}

TEST_F(ControlSocketTest, theReplyToQuitIsWrittenBeforeTheProgramEnds)
{
    const int client = connect();
    LineCatcher lines(client);
    type(client, "quit\n");
    runUntil([this] { return mQuit; });
    EXPECT_EQ(member(lines.next("reply"), "command"), "quit");
}

TEST_F(ControlSocketTest, aClientThatLeavesFourMebibytesUnreadIsGivenUp)
{
    const int client = connect();
    runUntil([this] { return mHasClients; });
    const std::string line(64 * 1024, 'x');
    size_t written = 0;
    while (mHasClients && written < 4 * ControlClient::kMaxUnread) {
        mSocket.writeText(line);
        written += line.size();
        mIo.restart();
        mIo.poll();
    }
    EXPECT_FALSE(mHasClients);
    EXPECT_GT(written, ControlClient::kMaxUnread);
    ::close(client);
}

TEST_F(ControlSocketTest, runnersEndWithTheSocket)
{
    bool ended = false;
    struct Ending : EchoRunner
    {
        explicit Ending(bool* flag) : mFlag(flag) {}
        ~Ending() override { *mFlag = true; }
        bool* mFlag;
    };
    auto other = std::make_unique<ControlSocket>(mIo, [&] { return std::make_unique<Ending>(&ended); });
    bool hasClients = false;
    other->onClients = [&](bool has) { hasClients = has; };
    EXPECT_EQ(other->listen(mFolder + "/other"), "");
    const int client = connect(mFolder + "/other");
    runUntil([&] { return hasClients; });
    other.reset();
    EXPECT_TRUE(ended);
    mIo.restart();
    mIo.poll();
    ::close(client);
}

TEST_F(ControlSocketTest, thePathIsRemovedAtTheEnd)
{
    {
        ControlSocket other(mIo, [] { return std::make_unique<EchoRunner>(); });
        EXPECT_EQ(other.listen(mFolder + "/other"), "");
        EXPECT_TRUE(std::filesystem::exists(mFolder + "/other"));
    }
    EXPECT_FALSE(std::filesystem::exists(mFolder + "/other"));
}

TEST_F(ControlSocketTest, aPathThatAnotherListensAtIsAMistake)
{
    ControlSocket other(mIo, [] { return std::make_unique<EchoRunner>(); });
    EXPECT_NE(other.listen(mPath), "");
}

// The server while calls of the system fail, each one in turn.

#include "failingcalls.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <ostream>
#include <poll.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "linkpeer.h"
#include "server/app/application.h"
#include "zullink/linkclock.h"
#include "zulobj/device.h"
#include "zulobj/objectlist.h"

namespace {

struct Row
{
    const char* function;
    int error;
};

std::string nameOf(const Row& row)
{
    return std::string(row.function) + "_" +
           (row.error == FailingCalls::kShort ? "short" : strerrorname_np(row.error));
}

void PrintTo(const Row& row, std::ostream* out) { *out << nameOf(row); }

std::vector<Row> everyFailure()
{
    std::vector<Row> rows;
    // timerfd_settime() is not among them: it fails for wrong arguments alone.
    for (const char* function :
         {"socket", "bind", "listen", "accept", "setsockopt", "getsockname", "getpeername", "ioctl", "recv",
          "send", "read", "write", "poll", "epoll_ctl", "epoll_wait", "close"}) {
        for (const int error : {EINTR, EAGAIN, ECONNRESET, EMFILE, ENFILE, ENOMEM}) {
            rows.push_back({function, error});
        }
    }
    for (const char* function : {"recv", "send", "read", "write"}) {
        rows.push_back({function, FailingCalls::kShort});
    }
    return rows;
}

/// A device that says who it is, answers every request and connects again whenever it must.
///
/// Its own calls never fail.
class SteadyDevice
{
public:
    explicit SteadyDevice(int port) : mPort(port), mThread(&SteadyDevice::live, this) {}
    ~SteadyDevice()
    {
        mOver = true;
        mThread.join();
    }
    SteadyDevice(const SteadyDevice&) = delete;
    SteadyDevice& operator=(const SteadyDevice&) = delete;

private:
    void live()
    {
        const FailingCalls::Exempt exempt;
        while (!mOver) {
            PeerConnection connection = PeerConnection::connectTo(mPort);
            WMsg message;
            bool open = connection.isOpen();
            while (!mOver && open) {
                if (connection.waitForBytes(20)) {
                    open = connection.receive(&message);
                    answer(message, &connection);
                }
            }
        }
    }

    static void answer(const WMsg& request, PeerConnection* connection)
    {
        auto* device = new cObjectDevice;
        device->setDeviceSerial(7);
        cObjectList list;
        list.setMsgType(request.type);
        list.add(device);
        WMsg message;
        EXPECT_TRUE(list.encode(&message).isOk());
        message.answer = true;
        message.seq = request.seq;
        connection->send(message);
    }

    const int mPort;
    std::atomic<bool> mOver{false};
    std::thread mThread;
};

/// A server on a thread of its own, and what it prints. The calls of this class never fail.
class WatchedServer
{
public:
    WatchedServer()
    {
        for (int* ends : {mInput, mOutput, mErrors}) {
            EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        }
        ::fcntl(mOutput[0], F_SETFL, O_NONBLOCK);
        ::fcntl(mErrors[0], F_SETFL, O_NONBLOCK);
        server::Options options;
        options.port = 0;
        mApplication = std::make_unique<server::Application>(
            options, server::LinkSettings(), server::Application::Streams{mInput[0], mOutput[1], mErrors[1]});
        mThread = std::thread([this] {
            mStatus = mApplication->run();
            mEnded = true;
        });
    }

    ~WatchedServer()
    {
        mApplication->stop();
        mThread.join();
        mApplication.reset();
        for (const int* ends : {mInput, mOutput, mErrors}) {
            ::close(ends[0]);
            ::close(ends[1]);
        }
    }
    WatchedServer(const WatchedServer&) = delete;
    WatchedServer& operator=(const WatchedServer&) = delete;

    void type(const std::string& line)
    {
        const std::string text = line + "\n";
        EXPECT_EQ(::write(mInput[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    /// The next line that holds @p text; none when the server has ended or said that it can't go on.
    std::string lineWith(const std::string& text)
    {
        const int64_t deadline = linkNowMs() + 30000;
        std::string line;
        while (line.find(text) == std::string::npos) {
            if (takeLine(&line)) {
                continue;
            }
            if (mEnded || mSaid.find("any more") != std::string::npos || linkNowMs() > deadline) {
                break;
            }
            pollfd waits[] = {{mOutput[0], POLLIN, 0}, {mErrors[0], POLLIN, 0}};
            ::poll(waits, 2, 20);
            readInto(mOutput[0], &mPrinted);
            readInto(mErrors[0], &mSaid);
        }
        readInto(mErrors[0], &mSaid);
        return line.find(text) != std::string::npos ? line : std::string();
    }

    /// What it said on standard error.
    const std::string& said() const { return mSaid; }
    bool hasEnded() const { return mEnded; }
    int status() const { return mStatus; }

private:
    bool takeLine(std::string* line)
    {
        const size_t end = mPrinted.find('\n');
        if (end == std::string::npos) {
            return false;
        }
        *line = mPrinted.substr(0, end);
        mPrinted.erase(0, end + 1);
        return true;
    }

    static void readInto(int fd, std::string* text)
    {
        char data[4096];
        for (ssize_t size = ::read(fd, data, sizeof data); size > 0; size = ::read(fd, data, sizeof data)) {
            text->append(data, static_cast<size_t>(size));
        }
    }

    int mInput[2] = {-1, -1};
    int mOutput[2] = {-1, -1};
    int mErrors[2] = {-1, -1};
    std::unique_ptr<server::Application> mApplication;
    std::atomic<bool> mEnded{false};
    std::atomic<int> mStatus{-1};
    std::string mPrinted;
    std::string mSaid;
    std::thread mThread;
};

/// True once a command is answered by the device, however often that takes another connection.
bool isServedAtLast(WatchedServer* server)
{
    const std::string listening = server->lineWith("\"listening\"");
    if (listening.empty()) {
        return false;
    }
    const std::string key = "\"port\":";
    const SteadyDevice device(std::stoi(listening.substr(listening.find(key) + key.size())));
    const int64_t deadline = linkNowMs() + 20000;
    std::string reply = "none yet";
    while (linkNowMs() < deadline && !reply.empty() &&
           reply.find("\"deviceSerial\":7") == std::string::npos) {
        server->type("wait device timeout=5\nget device timeout=5");
        reply = server->lineWith("\"command\":\"get device timeout=5\"");
    }
    return reply.find("\"deviceSerial\":7") != std::string::npos;
}

} // namespace

class ServerFailingCallTest : public testing::TestWithParam<Row>
{};

TEST_P(ServerFailingCallTest, theServerServesOnOrSaysWhyNot)
{
    const FailingCalls::Exempt exempt;
    bool fired = true;
    for (int nth = 1; fired && nth < 1000 && !HasFailure(); ++nth) {
        SCOPED_TRACE(nth);
        const size_t before = FailingCalls::openDescriptors();
        FailingCalls::arm(GetParam().function, nth, GetParam().error);
        {
            WatchedServer server;
            if (!isServedAtLast(&server)) {
                EXPECT_NE(server.said(), "") << "a server that does not serve says why";
                EXPECT_TRUE(!server.hasEnded() || server.status() == 1);
            }
        }
        fired = FailingCalls::disarm();
        EXPECT_EQ(FailingCalls::openDescriptors(), before);
    }
    EXPECT_FALSE(fired);
}

INSTANTIATE_TEST_SUITE_P(all, ServerFailingCallTest, testing::ValuesIn(everyFailure()),
                         [](const testing::TestParamInfo<Row>& row) { return nameOf(row.param); });

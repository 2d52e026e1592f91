// The server over real sockets.

#include <boost/asio/connect.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "zulhttp/httpserver.h"

namespace {

using boost::asio::ip::tcp;
using namespace std::chrono_literals;

constexpr const char* kGet = "GET /hello HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n";

/// A server that runs in a thread of its own until the destructor.
class RunningServer
{
public:
    explicit RunningServer(const zulhttp::HttpServer::Limits& limits,
                           const std::string& address = "127.0.0.1")
    {
        mSite.get("/hello", [](const zulhttp::Request&) { return zulhttp::Response{.body = "hello"}; });
        mSite.get("/large", [](const zulhttp::Request&) {
            return zulhttp::Response{.body = std::string(32 * 1024 * 1024, 'x')};
        });
        mSite.stream("/events", [this](const auto&, const auto& stream) { flood(stream); });
        mServer = std::make_unique<zulhttp::HttpServer>(mIo, mSite, limits);
        EXPECT_EQ(mServer->acceptor().open(address, 0), "");
        mServer->acceptor().accept();
        mThread = std::thread([this] { mIo.run(); });
    }
    ~RunningServer()
    {
        mIo.stop();
        mThread.join();
    }
    RunningServer(const RunningServer&) = delete;
    RunningServer& operator=(const RunningServer&) = delete;

    tcp::endpoint endpoint() { return mServer->acceptor().endpoint(); }

private:
    /// Sends without end, a little with each turn of the loop.
    void flood(const std::shared_ptr<zulhttp::EventStream>& stream)
    {
        if (stream->isOpen()) {
            stream->send(std::make_shared<const std::string>(":" + std::string(8192, 'x') + "\n\n"));
            boost::asio::post(mIo, [this, stream] { flood(stream); });
        }
    }

    boost::asio::io_context mIo;
    zulhttp::Site mSite;
    std::unique_ptr<zulhttp::HttpServer> mServer;
    std::thread mThread;
};

/// A client that writes and reads bytes.
class Client
{
public:
    explicit Client(RunningServer& server) { mSocket.connect(server.endpoint()); }

    Client& send(const std::string& bytes)
    {
        boost::asio::write(mSocket, boost::asio::buffer(bytes));
        return *this;
    }

    /// All up to the end of the connection.
    std::string rest()
    {
        std::string text;
        boost::system::error_code end;
        boost::asio::read(mSocket, boost::asio::dynamic_buffer(text), end);
        return text;
    }

    int status()
    {
        const std::string answer = rest();
        return answer.size() < 12 ? 0 : std::stoi(answer.substr(9, 3));
    }

private:
    boost::asio::io_context mIo;
    tcp::socket mSocket{mIo};
};

} // namespace

TEST(HttpServerTest, answersOverIpv4AndIpv6)
{
    for (const char* address : {"127.0.0.1", "::1"}) {
        RunningServer server({}, address);
        EXPECT_EQ(Client(server).send(kGet).rest().substr(0, 15), "HTTP/1.1 200 OK") << address;
    }
}

TEST(HttpServerTest, aSlowRequestIsCutOff)
{
    RunningServer server({.patience = 100ms});
    EXPECT_EQ(Client(server).send("GET /hello HTTP/1.1\r\nHost: ").status(), 408);
}

TEST(HttpServerTest, aSilentClientIsClosed)
{
    RunningServer server({.patience = 100ms});
    EXPECT_EQ(Client(server).rest(), "");
}

TEST(HttpServerTest, moreConnectionsThanAllowedAreRefused)
{
    RunningServer server({.connections = 2});
    {
        std::vector<std::unique_ptr<Client>> held;
        for (int i = 0; i < 2; ++i) {
            held.push_back(std::make_unique<Client>(server));
        }
        EXPECT_EQ(Client(server).send(kGet).status(), 503);
    }
    int status = 503;
    while (status == 503) {
        status = Client(server).send(kGet).status();
    }
    EXPECT_EQ(status, 200);
}

TEST(HttpServerTest, aRefusedBodyDoesNotTakeTheAnswerAway)
{
    RunningServer server({});
    const std::string body(256 * 1024, 'x');
    Client client(server);
    client.send("POST /hello HTTP/1.1\r\nHost: localhost\r\nContent-Length: 262144\r\n\r\n").send(body);
    EXPECT_EQ(client.status(), 413);
}

TEST(HttpServerTest, aLargeAnswerArrivesWhole)
{
    RunningServer server({});
    Client client(server);
    client.send("GET /large HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
    EXPECT_GT(client.rest().size(), 32U * 1024 * 1024);
}

TEST(HttpServerTest, nothingWaitsForAClientThatDoesNotRead)
{
    RunningServer server({});
    Client stuck(server);
    stuck.send("GET /events HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_EQ(Client(server).send(kGet).status(), 200);
    EXPECT_GT(stuck.rest().size(), 0U); // it ends: the server has dropped it
}

TEST(HttpServerTest, aClientThatTakesNothingOfItsAnswerIsClosed)
{
    RunningServer server({.patience = 100ms, .connections = 1});
    Client stuck(server);
    stuck.send("GET /large HTTP/1.1\r\nHost: localhost\r\n\r\n");
    int status = 503;
    while (status == 503) {
        status = Client(server).send(kGet).status();
    }
    EXPECT_EQ(status, 200);
}

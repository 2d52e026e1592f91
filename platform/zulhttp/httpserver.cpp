#include "zulhttp/httpserver.h"

#include <fcntl.h>
#include <utility>

#include "zulhttp/connection.h"

namespace zulhttp {

namespace {

/// Beyond the limit this many clients get an answer that says so; further ones are closed at once.
constexpr size_t kMaxRefused = 64;

} // namespace

HttpServer::HttpServer(boost::asio::io_context& io, Site& site, const Limits& limits)
    : mSite(site), mLimits(limits), mAcceptor(io)
{
    mAcceptor.onPeer = [this](boost::asio::ip::tcp::socket socket) { add(std::move(socket)); };
}

HttpServer::~HttpServer()
{
    for (const std::shared_ptr<Connection>& connection : mConnections) {
        connection->abandon();
    }
}

void HttpServer::add(boost::asio::ip::tcp::socket socket)
{
    if (mConnections.size() >= mLimits.connections + kMaxRefused) {
        return;
    }
    const bool refused = mConnections.size() >= mLimits.connections;
    // A program that this one starts must not keep the connection.
    ::fcntl(socket.native_handle(), F_SETFD, FD_CLOEXEC);
    auto connection = std::make_shared<Connection>(std::move(socket), mSite, mLimits.patience);
    mConnections.insert(connection);
    connection->onClosed = [this, key = connection.get()] {
        std::erase_if(mConnections, [key](const auto& each) { return each.get() == key; });
    };
    refused ? connection->refuse(problem(503, "Too many connections are open.")) : connection->start();
}

} // namespace zulhttp

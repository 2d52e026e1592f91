#pragma once

#include <boost/asio/io_context.hpp>
#include <chrono>
#include <memory>
#include <string>
#include <unordered_set>

#include "zulhttp/site.h"
#include "zullink/peeracceptor.h"

namespace zulhttp {

class Connection;

/// Listens for clients of a Site, on the thread of the event loop.
class HttpServer
{
public:
    struct Limits
    {
        std::chrono::milliseconds patience{10'000}; ///< for a request to be whole, or a write to go on
        size_t connections = 256;
    };

    /// Both are borrowed.
    HttpServer(boost::asio::io_context& io, Site& site) : HttpServer(io, site, Limits()) {}
    HttpServer(boost::asio::io_context& io, Site& site, const Limits& limits);

    /// Closes the connections.
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /// Its onError gets sentences; open() and accept() it.
    PeerAcceptor& acceptor() { return mAcceptor; }
    const PeerAcceptor& acceptor() const { return mAcceptor; }

private:
    void add(boost::asio::ip::tcp::socket socket);

    Site& mSite;
    const Limits mLimits;
    PeerAcceptor mAcceptor;
    std::unordered_set<std::shared_ptr<Connection>> mConnections;
};

} // namespace zulhttp

#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <functional>
#include <string>

/// Listens for TCP clients.
class PeerAcceptor
{
public:
    explicit PeerAcceptor(boost::asio::io_context& io) : mAcceptor(io), mRetryTimer(io) {}

    std::function<void(boost::asio::ip::tcp::socket)> onPeer;

    /// Called with one sentence when accepting begins to fail; it is retried every second.
    std::function<void(const std::string&)> onError;

    /// Listens at @p address, a name or a number, and @p port; 0 picks a free one. Returns why that is not
    /// possible, or an empty text.
    std::string open(const std::string& address, uint16_t port);

    /// Where it listens.
    const boost::asio::ip::tcp::endpoint& endpoint() const { return mEndpoint; }

    /// True after onError, until a client was accepted.
    bool isFailing() const { return mFailing; }

    /// Accepts from now on.
    void accept();

private:
    void retryLater(const boost::system::error_code& error);

    boost::asio::ip::tcp::acceptor mAcceptor;
    boost::asio::ip::tcp::endpoint mEndpoint;
    boost::asio::steady_timer mRetryTimer;
    bool mFailing = false;
};

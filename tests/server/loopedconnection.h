#ifndef LOOPEDCONNECTION_H
#define LOOPEDCONNECTION_H

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <memory>
#include <string>
#include <vector>

#include "server/sessions/connection.h"

/// A connection of the server's, its peer's bare socket and the loop that drives it, all on one thread.
class LoopedConnection : private server::Connection::Owner
{
public:
    explicit LoopedConnection(const server::LinkSettings& settings = {});
    ~LoopedConnection() override;

    server::Connection& connection() { return *mConnection; }

    /// Lets the connection do what it can do now.
    void turn() { mIo.poll(); }

    /// Sends @p bytes to the connection, which reads meanwhile. False when it has closed.
    bool feed(const std::vector<uint8_t>& bytes);

    /// Why the connection has closed; empty while it has not.
    const std::string& reason() const { return mReason; }
    size_t messages() const { return mMessages; }

private:
    void connectionMessage(WMsg&&) override { ++mMessages; }
    void connectionClosed(const std::string& reason) override { mReason = reason; }
    bool readingHeld() const override { return false; }

    boost::asio::io_context mIo;
    boost::asio::ip::tcp::socket mPeer;
    std::shared_ptr<server::Connection> mConnection;
    std::string mReason;
    size_t mMessages = 0;
};

#endif

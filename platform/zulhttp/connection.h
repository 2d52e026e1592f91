#pragma once

#include <array>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <functional>
#include <memory>

#include "zulhttp/conversation.h"

namespace zulhttp {

/// Runs a Conversation over a socket; pending operations keep it alive.
class Connection : public std::enable_shared_from_this<Connection>
{
public:
    /// A request has @p patience to be whole, and so long a client may take nothing of what is written.
    /// @p site outlives it or its last call, abandon().
    Connection(boost::asio::ip::tcp::socket socket, Site& site, std::chrono::milliseconds patience);

    /// Called once, when the connection is closed.
    std::function<void()> onClosed;

    void start();

    /// Answers with @p response in the place of start().
    void refuse(const Response& response);

    /// Closes the connection; onClosed is not called any more.
    void abandon();

private:
    void proceed();
    void read();
    void write();
    void armTimer(std::chrono::milliseconds time);
    void timeUp();
    void close();

    boost::asio::ip::tcp::socket mSocket;
    boost::asio::steady_timer mTimer;
    const std::chrono::milliseconds mPatience;
    const std::shared_ptr<Conversation> mConversation;
    Conversation::eState mTimedState = Conversation::eState::READING; ///< the timer was armed for it
    std::array<char, 4096> mBuffer;
    bool mReading = false;
    bool mWriting = false;
    bool mLingering = false; ///< all is written; the client has a moment to read it
    bool mClosed = false;
};

} // namespace zulhttp

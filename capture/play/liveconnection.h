#pragma once

#include <array>
#include <boost/asio/ip/tcp.hpp>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "capture/sessions/messagefinder.h"

namespace capture {

/// The connection to the side that is not played: sends bytes as they are, and reads messages.
///
/// Pings of the other side are answered. Everything happens in the loop of the socket, which the pending
/// operations keep the connection alive for.
class LiveConnection : public std::enable_shared_from_this<LiveConnection>
{
public:
    using Socket = boost::asio::ip::tcp::socket;

    /// Answers to pings that are not read are not kept beyond.
    static constexpr size_t kMaxUnsent = 1024 * 1024;

    explicit LiveConnection(Socket socket) : mSocket(std::move(socket)) {}

    std::function<void(WMsg&&)> onMessage = [](WMsg&&) {};

    /// Called with the number of bytes that came and belong to no message.
    std::function<void(uint64_t)> onDamaged = [](uint64_t) {};

    void start();

    /// Sends @p bytes; isSent() says whether the system has taken all.
    void send(std::span<const uint8_t> bytes);
    bool isSent() const { return mUnsent.empty() || mIsOver; }

    /// Sends no more.
    void endSending();
    void close();
    void reset();

    /// True once the other side sends no more, or the connection is lost or closed.
    bool isOver() const { return mIsOver || mHasEnded; }

private:
    void read();
    void take(std::span<const uint8_t> bytes);
    void write();

    Socket mSocket;
    MessageFinder mFinder;
    std::array<uint8_t, 16 * 1024> mBuffer{};
    std::vector<uint8_t> mUnsent;
    bool mIsWriting = false;
    bool mHasEnded = false;
    bool mIsOver = false;
};

} // namespace capture

#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <memory>
#include <string>
#include <vector>

#include "zullink/asiodriver.h"

/// A driver, the bare socket of its peer and the loop, all on one thread.
class LoopedDriver : private AsioDriver::Owner
{
public:
    explicit LoopedDriver(const LinkSession::Settings& settings = {sLinkLimits(), false});
    ~LoopedDriver() override;

    void send(WMsg message);

    /// Lets the driver do what it can do now.
    void turn() { mIo.poll(); }

    /// Sends @p bytes to the driver, which reads meanwhile. False if it has closed the connection.
    bool feed(const std::vector<uint8_t>& bytes);

    /// Why the connection was closed; empty while it is open.
    const std::string& reason() const { return mReason; }
    size_t messages() const { return mMessages; }

private:
    void linkMessage(LinkSession::Received&&) override { ++mMessages; }
    void linkClosed(const std::string& reason) override { mReason = reason; }
    bool readingPaused() const override { return false; }

    boost::asio::io_context mIo;
    boost::asio::ip::tcp::socket mPeer;
    LinkNumbers mNumbers;
    std::shared_ptr<AsioDriver> mDriver;
    std::string mReason;
    size_t mMessages = 0;
};

#include "loopeddriver.h"

#include <gtest/gtest.h>
#include <utility>

using boost::asio::ip::tcp;

LoopedDriver::LoopedDriver(const LinkSession::Settings& settings) : mPeer(mIo)
{
    tcp::acceptor acceptor(mIo, {boost::asio::ip::address_v4::loopback(), 0});
    mPeer.connect(acceptor.local_endpoint());
    mPeer.non_blocking(true);
    mDriver = std::make_shared<AsioDriver>(acceptor.accept(), settings, &mNumbers, nullptr,
                                           static_cast<AsioDriver::Owner*>(this));
    mDriver->start();
}

LoopedDriver::~LoopedDriver()
{
    if (mReason.empty()) {
        mDriver->abandon();
    }
    mIo.poll();
}

void LoopedDriver::send(WMsg message)
{
    mDriver->session().send(std::move(message));
    mDriver->flush();
}

bool LoopedDriver::feed(const std::vector<uint8_t>& bytes)
{
    size_t sent = 0;
    while (sent < bytes.size() && mReason.empty()) {
        boost::system::error_code error;
        sent += mPeer.write_some(boost::asio::buffer(bytes.data() + sent, bytes.size() - sent), error);
        if (error && error != boost::asio::error::would_block) {
            return false;
        }
        turn();
    }
    return mReason.empty();
}

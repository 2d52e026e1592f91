#include "loopedconnection.h"

#include <gtest/gtest.h>
#include <utility>

using boost::asio::ip::tcp;

LoopedConnection::LoopedConnection(const server::LinkSettings& settings) : mPeer(mIo)
{
    tcp::acceptor acceptor(mIo, {boost::asio::ip::address_v4::loopback(), 0});
    mPeer.connect(acceptor.local_endpoint());
    mPeer.non_blocking(true);
    mConnection = std::make_shared<server::Connection>(acceptor.accept(), settings,
                                                       static_cast<server::Connection::Owner*>(this));
    mConnection->start();
}

LoopedConnection::~LoopedConnection()
{
    if (mReason.empty()) {
        mConnection->abandon();
    }
    mIo.poll();
}

bool LoopedConnection::feed(const std::vector<uint8_t>& bytes)
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

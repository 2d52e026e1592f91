#include "zullink/peeracceptor.h"

#include <boost/system/system_error.hpp>
#include <chrono>
#include <fcntl.h>
#include <utility>

std::string PeerAcceptor::open(const std::string& address, uint16_t port)
{
    using boost::asio::ip::tcp;
    boost::system::error_code error;
    tcp::resolver resolver(mAcceptor.get_executor());
    const tcp::resolver::results_type found =
        resolver.resolve(address, std::to_string(port), tcp::resolver::passive, error);
    if (error || found.empty()) {
        return "\"" + address + "\" is not an address of this machine: " + error.message();
    }
    try {
        mAcceptor = tcp::acceptor(mAcceptor.get_executor(), found.begin()->endpoint());
        mEndpoint = mAcceptor.local_endpoint();
        // A program that this one starts must not keep the port.
        ::fcntl(mAcceptor.native_handle(), F_SETFD, FD_CLOEXEC);
    } catch (const boost::system::system_error& failed) {
        return "Cannot listen at " + address + " port " + std::to_string(port) + ": " +
               failed.code().message();
    }
    return {};
}

void PeerAcceptor::accept()
{
    mAcceptor.async_accept(
        [this](const boost::system::error_code& error, boost::asio::ip::tcp::socket socket) {
            if (!error) {
                mFailing = false;
                onPeer(std::move(socket));
                accept();
            } else if (error != boost::asio::error::operation_aborted) {
                retryLater(error);
            }
        });
}

void PeerAcceptor::retryLater(const boost::system::error_code& error)
{
    if (!std::exchange(mFailing, true)) {
        onError("New connections cannot be accepted for now: " + error.message() + ".");
    }
    mRetryTimer.expires_after(std::chrono::seconds(1));
    mRetryTimer.async_wait([this](const boost::system::error_code& stopped) {
        if (!stopped) {
            accept();
        }
    });
}

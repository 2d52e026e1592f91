#include "server/sessions/peeracceptor.h"

#include <chrono>
#include <utility>

namespace server {

PeerAcceptor::PeerAcceptor(boost::asio::io_context& io) : mAcceptor(io), mRetryTimer(io) {}

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
    const tcp::endpoint endpoint = found.begin()->endpoint();
    mAcceptor.open(endpoint.protocol(), error);
    if (!error) {
        mAcceptor.set_option(tcp::acceptor::reuse_address(true), error);
    }
    if (!error) {
        mAcceptor.bind(endpoint, error);
    }
    if (!error) {
        mAcceptor.listen(tcp::acceptor::max_listen_connections, error);
    }
    if (!error) {
        mEndpoint = mAcceptor.local_endpoint(error);
    }
    return error ? "Cannot listen at " + address + " port " + std::to_string(port) + ": " + error.message()
                 : std::string();
}

void PeerAcceptor::accept()
{
    mAcceptor.async_accept(
        [this](const boost::system::error_code& error, boost::asio::ip::tcp::socket socket) {
            if (error == boost::asio::error::operation_aborted) {
                return;
            }
            if (error) {
                retryLater(error);
                return;
            }
            mTroubled = false;
            onPeer(std::move(socket));
            accept();
        });
}

void PeerAcceptor::retryLater(const boost::system::error_code& error)
{
    if (!mTroubled) {
        mTroubled = true;
        onError("New connections cannot be accepted for now: " + error.message() + ".");
    }
    mRetryTimer.expires_after(std::chrono::seconds(1));
    mRetryTimer.async_wait([this](const boost::system::error_code& stopped) {
        if (!stopped) {
            accept();
        }
    });
}

} // namespace server

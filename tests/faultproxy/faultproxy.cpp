#include "faultproxy.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <fcntl.h>
#include <future>
#include <utility>

#include "faultyconnection.h"

using boost::asio::ip::tcp;

FaultProxy::FaultProxy(uint16_t serverPort, const Faults& faults, uint16_t port)
    : mServerPort(serverPort), mFaults(faults), mReserved(mIo), mAcceptor(mIo)
{
    boost::system::error_code error;
    bindTo(&mReserved, port, &error);
    if (!error) {
        mPort = mReserved.local_endpoint(error).port();
        listen();
    }
    mThread = std::thread([this] {
        const auto work = boost::asio::make_work_guard(mIo);
        mIo.run();
    });
}

FaultProxy::~FaultProxy()
{
    mIo.stop();
    mThread.join();
}

void FaultProxy::setFaults(const Faults& faults)
{
    runOnThread([&] { mFaults = faults; });
}

void FaultProxy::resetAll()
{
    forAll([](FaultyConnection& connection) { connection.end(true); });
}

void FaultProxy::closeAll()
{
    forAll([](FaultyConnection& connection) { connection.end(false); });
}

void FaultProxy::silenceAll()
{
    forAll([](FaultyConnection& connection) { connection.silence(); });
}

void FaultProxy::refuse()
{
    runOnThread([this] {
        boost::system::error_code ignored;
        mAcceptor.close(ignored);
    });
}

void FaultProxy::accept()
{
    runOnThread([this] { listen(); });
}

FaultCounts FaultProxy::counts()
{
    FaultCounts counts;
    runOnThread([&] { counts = mCounts; });
    return counts;
}

/// Two sockets of this process may stand at the port, one of which listens at times.
void FaultProxy::bindTo(tcp::acceptor* acceptor, uint16_t port, boost::system::error_code* error)
{
    acceptor->open(tcp::v4(), *error);
    acceptor->set_option(tcp::acceptor::reuse_address(true), *error);
    acceptor->set_option(boost::asio::detail::socket_option::boolean<SOL_SOCKET, SO_REUSEPORT>(true), *error);
    // A program that a test starts must not keep the port open.
    ::fcntl(acceptor->native_handle(), F_SETFD, FD_CLOEXEC);
    acceptor->bind({boost::asio::ip::address_v4::loopback(), port}, *error);
}

void FaultProxy::listen()
{
    boost::system::error_code error;
    bindTo(&mAcceptor, mPort, &error);
    if (!error) {
        mAcceptor.listen(tcp::acceptor::max_listen_connections, error);
    }
    if (error) {
        mPort = 0;
    } else {
        acceptNext();
    }
}

void FaultProxy::acceptNext()
{
    mAcceptor.async_accept([this](const boost::system::error_code& error, tcp::socket socket) {
        if (error) {
            return;
        }
        ::fcntl(socket.native_handle(), F_SETFD, FD_CLOEXEC);
        const auto connection =
            std::make_shared<FaultyConnection>(std::move(socket), ++mCounts.connections, mFaults, mCounts);
        mConnections.erase(std::remove_if(mConnections.begin(), mConnections.end(),
                                          [](const auto& known) { return known->isOver(); }),
                           mConnections.end());
        mConnections.push_back(connection);
        connection->start({boost::asio::ip::address_v4::loopback(), mServerPort});
        acceptNext();
    });
}

void FaultProxy::forAll(const std::function<void(FaultyConnection&)>& action)
{
    runOnThread([&] {
        for (const std::shared_ptr<FaultyConnection>& connection : mConnections) {
            action(*connection);
        }
    });
}

void FaultProxy::runOnThread(const std::function<void()>& action)
{
    std::promise<void> done;
    boost::asio::post(mIo, [&] {
        action();
        done.set_value();
    });
    done.get_future().wait();
}

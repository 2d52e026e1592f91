#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "faults.h"

class FaultyConnection;

/// Stands between devices and a server and passes their bytes on, damaged as it is told.
///
/// It runs on a thread of its own; any thread may call it.
class FaultProxy
{
public:
    /// Listens at 127.0.0.1 and passes on to @p serverPort of the same machine. @p port 0 picks a free one.
    explicit FaultProxy(uint16_t serverPort, const Faults& faults = {}, uint16_t port = 0);
    ~FaultProxy();
    FaultProxy(const FaultProxy&) = delete;
    FaultProxy& operator=(const FaultProxy&) = delete;

    /// Where devices connect; 0 when that port can't be had.
    uint16_t port() const { return mPort; }

    /// Holds for all segments that come from now on.
    void setFaults(const Faults& faults);

    /// Ends every connection that stands, or leaves it standing in silence until resetAll().
    void resetAll();
    void closeAll();
    void silenceAll();

    /// Refuses connections from now on, and takes them again.
    void refuse();
    void accept();

    FaultCounts counts();

private:
    void bindTo(boost::asio::ip::tcp::acceptor* acceptor, uint16_t port, boost::system::error_code* error);
    void listen();
    void acceptNext();
    void forAll(const std::function<void(FaultyConnection&)>& action);
    void runOnThread(const std::function<void()>& action);

    const uint16_t mServerPort;
    uint16_t mPort = 0;

    // Touched by the proxy's own thread alone once it runs.
    Faults mFaults;
    FaultCounts mCounts;
    boost::asio::io_context mIo;
    boost::asio::ip::tcp::acceptor mReserved; ///< bound to the port while the proxy does not listen
    boost::asio::ip::tcp::acceptor mAcceptor;
    std::vector<std::shared_ptr<FaultyConnection>> mConnections;

    std::thread mThread;
};

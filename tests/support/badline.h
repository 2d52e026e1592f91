#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "proxy/app/proxy.h"

/// A line between devices and a server of this machine that misbehaves as it is told: a proxy in this
/// process.
///
/// It runs on a thread of its own; any thread may call it.
class BadLine
{
public:
    using Rules = std::vector<std::string>;

    /// Passes connections on to @p serverPort.
    explicit BadLine(uint16_t serverPort, const Rules& rules = {}, uint64_t seed = 1);
    ~BadLine();
    BadLine(const BadLine&) = delete;
    BadLine& operator=(const BadLine&) = delete;

    /// Where devices connect; 0 if that port cannot be had.
    uint16_t port() const { return mPort; }

    /// These rules are in force from now on, and no others.
    void setRules(const Rules& rules);

    /// Does CUT, RESET or SILENCE to every open connection.
    void command(proxy::eFault kind);

    /// Does CUT or RESET to every connection, and refuses others until comeBack().
    void goDown(proxy::eFault kind);
    void comeBack();

    /// What it has done so far.
    struct Counts
    {
        uint64_t connections = 0;
        std::map<proxy::eFault, uint64_t> faults = {}; ///< by their kinds

        uint64_t of(proxy::eFault kind) const;
    };
    Counts counts();

private:
    void open();
    void addRules(const Rules& rules);
    void runOnThread(const std::function<void()>& action);

    const uint16_t mServerPort;
    const uint64_t mSeed;
    boost::asio::io_context mIo;
    boost::asio::ip::tcp::acceptor mReserved; ///< bound to the port, so that no other gets it
    uint16_t mPort = 0;
    std::thread mThread;

    // Touched by the line's own thread alone once it runs.
    std::unique_ptr<proxy::Proxy> mProxy;
    Counts mCounts; ///< without the connections of mProxy
};

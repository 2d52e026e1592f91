#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "proxy/commands/commandparser.h"
#include "proxy/commands/proxycontrol.h"
#include "zulcommand/linerunner.h"
#include "zulcommand/reply.h"

namespace proxy {

/// Runs the commands of standard input or of one client of the control socket, one after the other.
class CommandRunner : public zulcommand::LineRunner, private FaultLog::Listener
{
public:
    /// All outlive it; all runners of a proxy share @p faults.
    CommandRunner(boost::asio::io_context& io, ProxyControl& proxy, FaultLog& faults);
    ~CommandRunner() override;
    CommandRunner(const CommandRunner&) = delete;
    CommandRunner& operator=(const CommandRunner&) = delete;

    /// Called with the lines of "help" before its reply, which has them too.
    std::function<void(const std::string&)> onHelp = [](const std::string&) {};

    bool isRunning() const override { return mRun.has_value(); }

private:
    using Reply = zulcommand::Reply;
    using Clock = std::chrono::steady_clock;

    struct Run
    {
        explicit Run(std::string line) : text(std::move(line)) {}

        const std::string text;
        Command command;
        Clock::time_point begun = Clock::now();
        uint64_t scannedUpTo = 0; ///< faults before this one are not those that are expected
    };

    void begin(std::string text) override;
    void faultAdded() override;
    void execute();
    Reply addRule();
    Reply listRules() const;
    Reply clearRules();
    Reply act();
    Reply missed() const;
    void look();
    void wakeUp(Clock::time_point when);
    void end(const Reply& reply);

    ProxyControl& mProxy;
    FaultLog& mFaults;
    boost::asio::steady_timer mTimer;
    std::optional<Run> mRun;
    uint64_t mWait = 0;    ///< the number of the latest wait; a wait before it calls nothing
    bool mLooking = false; ///< the event loop is about to look for a fault
    const std::shared_ptr<bool> mAlive = std::make_shared<bool>(); ///< a wait that ends later calls nothing
};

} // namespace proxy

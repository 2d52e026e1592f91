#pragma once

#include <boost/asio/io_context.hpp>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "fleet/devices/fleet.h"
#include "zulcommand/controlcommand.h"
#include "zulcommand/eventsearch.h"
#include "zulcommand/linerunner.h"

namespace fleet {

/// Runs the commands of one client of the control socket, one after the other.
class ControlRunner : public zulcommand::LineRunner
{
public:
    /// A reply has no more records than this; one about all devices has none beyond it.
    static constexpr size_t kMaxObjects = 1000;

    /// @p fleet outlives it.
    ControlRunner(boost::asio::io_context& io, Fleet& fleet) : mFleet(fleet), mTimer(io) {}

    bool isRunning() const override { return mRun.has_value(); }

    /// The server has sent @p message, a set of one object.
    void setReceived(uint32_t serial, WMsg message) { mLog.add(serial, std::move(message)); }

private:
    using Reply = zulcommand::Reply;
    using Clock = std::chrono::steady_clock;

    struct Run
    {
        explicit Run(std::string line) : text(std::move(line)) {}

        const std::string text;
        sControlCommand command;
        std::vector<Device*> devices; ///< those that the command is about
        Clock::time_point begun = Clock::now();
        zulcommand::EventSearch search;
        size_t answers = 0; ///< that were not as expected
        Reply lastAnswer;   ///< the last of them
    };

    void begin(std::string text) override;
    std::string findDevices();
    void execute();
    Reply actOnEach(const std::function<std::string(Device&, json_t*)>& act) const;
    Reply get() const;
    Reply getLink() const;
    std::string playScenario();
    bool isExpected(Device& device) const;
    std::optional<Reply> look();
    std::optional<Reply> expectGet();
    Reply missed();
    void wait();
    void end(const Reply& reply);
    static Reply error(const std::string& sentence);

    Fleet& mFleet;
    LinkTimer mTimer;
    zulcommand::MessageLog mLog;
    std::optional<Run> mRun;
};

} // namespace fleet

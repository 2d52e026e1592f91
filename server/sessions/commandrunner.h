#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "server/commands/commandparser.h"
#include "server/sessions/deviceround.h"
#include "server/sessions/devicesessions.h"
#include "zulcommand/eventsearch.h"
#include "zulconsole/console.h"

namespace server {

/// Runs commands one after the other and prints a reply to each.
class CommandRunner
{
public:
    static constexpr size_t kMaxWaiting = 1000;

    /// Everything is borrowed.
    CommandRunner(boost::asio::io_context& io, zulconsole::Console& console, DeviceSessions& sessions);

    /// Called with the text of a command that begins, and with its reply, once printed, and its time in
    /// seconds.
    std::function<void(const std::string&)> onBegin = [](const std::string&) {};
    std::function<void(const zulcommand::Reply&, double)> onReply = [](const zulcommand::Reply&, double) {};

    /// Called after "quit", or when the last command is done after endOfCommands().
    std::function<void()> onEnd;

    /// Queues a line; one that is no command is skipped.
    void submit(const std::string& line);

    /// True while kMaxWaiting lines or more wait: read no more until onSpaceAvailable.
    bool full() const { return mQueue.size() >= kMaxWaiting; }

    /// Called from the event loop when full() has become false.
    std::function<void()> onSpaceAvailable = [] {};

    /// No further line will come.
    void endOfCommands();

    /// Checks whether the running command has got what it waits for.
    void sessionsChanged();

    /// Ends the running command as timed out, as the time of the whole run is over. False if none was
    /// running.
    bool runTimedOut();

    /// True while a command has begun and has no reply.
    bool isRunning() const { return mRun.has_value(); }

    /// The commands that have not begun.
    const std::deque<std::string>& waiting() const { return mQueue; }

    /// 0, or the largest that applies: 2 when a command ended in error, 3 when one timed out, 4 when an
    /// expectation was not met.
    int exitStatus() const
    {
        return mWorst == zulcommand::Reply::Status::OK ? 0 : static_cast<int>(mWorst) + 1;
    }

    /// The status of a run that is cut off: 0 or 4.
    int exitStatusCutOff() const { return mWorst == zulcommand::Reply::Status::FAILED ? exitStatus() : 0; }

private:
    using Clock = std::chrono::steady_clock;

    struct Run
    {
        Run(uint64_t number, std::string line) : id(number), text(std::move(line)) {}

        const uint64_t id;
        const std::string text;
        Command command;
        Clock::time_point begun = Clock::now();
        std::weak_ptr<DeviceSession> session; ///< of the device that should answer
        uint64_t request = 0;                 ///< the number for giveUp()
        zulcommand::EventSearch search;
        uint64_t endedUpTo = 0;       ///< connections that ended before this one are not looked for again
        size_t answers = 0;           ///< that were not as expected
        zulcommand::Reply lastAnswer; ///< the last of them
        DeviceRound round;            ///< of a request to all devices
    };

    void startNext();
    void begin();
    void execute();
    DeviceSessions::SessionPtr pickDevice();
    zulcommand::Reply counts();
    void exchange();
    void answered(const WMsg* answer);
    void askAll();
    void endRoundIfOver();
    void answeredOne(const DeviceSession& session, const WMsg* answer);
    void send();
    void lookForEvent();
    void lookForUnwantedEvent();
    void lookForEnd();

    void wakeUp(boost::asio::steady_timer* timer, std::chrono::duration<double> after,
                void (CommandRunner::*then)());
    void timeUp();
    void end(const zulcommand::Reply& reply);
    void fail(const std::string& sentence,
              zulcommand::Reply::Status status = zulcommand::Reply::Status::ERROR);

    boost::asio::io_context& mIo;
    zulconsole::Console& mConsole;
    DeviceSessions& mSessions;
    boost::asio::steady_timer mTimer;
    boost::asio::steady_timer mAskTimer;

    std::deque<std::string> mQueue;
    std::optional<Run> mRun;
    uint64_t mRuns = 0;
    bool mStarting = false; ///< the event loop is about to start the next command
    bool mNoMore = false;
    bool mEnded = false;
    zulcommand::Reply::Status mWorst = zulcommand::Reply::Status::OK;
};

} // namespace server

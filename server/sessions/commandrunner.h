#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "server/commands/command.h"
#include "server/commands/messagelog.h"
#include "server/io/console.h"
#include "server/sessions/devicesessions.h"

namespace server {

/// Runs commands one after the other and prints a reply to each.
class CommandRunner
{
public:
    static constexpr size_t kMaxWaiting = 1000;

    /// Observes the commands.
    class Watcher
    {
    public:
        virtual ~Watcher() = default;
        virtual void commandBegun(const std::string& text) = 0;

        /// The reply to the running command was printed. @p error is empty if there is none.
        virtual void commandDone(Reply::Status status, const std::string& error, double seconds) = 0;
    };

    /// Everything is borrowed.
    CommandRunner(boost::asio::io_context& io, Console& console, DeviceSessions& monitor, MessageLog& log);

    /// @p watcher is borrowed; null for none.
    void setWatcher(Watcher* watcher) { mWatcher = watcher; }

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
    void monitorChanged();

    /// Ends the running command as timed out, as the time of the whole run is over. False if none was
    /// running.
    bool runTimedOut();

    /// True while a command has begun and has no reply.
    bool isRunning() const { return mRun.has_value(); }

    /// The commands that have not begun.
    const std::deque<std::string>& waiting() const { return mQueue; }

    /// 0, or the largest that applies: 2 when a command ended in error, 3 when one timed out, 4 when an
    /// expectation was not met.
    int exitStatus() const { return mExpectationFailed ? 4 : (mTimedOut ? 3 : (mFailed ? 2 : 0)); }

    /// The status of a run that is cut off: 0 or 4.
    int exitStatusCutOff() const { return mExpectationFailed ? 4 : 0; }

private:
    using Clock = std::chrono::steady_clock;

    struct Run
    {
        uint64_t id = 0;
        std::string text;
        Command command;
        Clock::time_point begun;
        std::weak_ptr<DeviceSession> session; ///< of the device that should answer
        uint64_t request = 0;                 ///< the number for giveUp()
        MessageLog::Filter filter;            ///< for the message or object that the command waits for
        uint64_t scannedUpTo = 0;             ///< messages before this one do not match
        size_t answers = 0;                   ///< that were not as expected
        Reply lastAnswer;                     ///< the last of them
    };

    void startNext();
    void begin();
    void execute(Command::Kind kind);
    DeviceSessions::SessionPtr pickDevice();
    void exchange();
    void answered(const WMsg* answer);
    void send();
    bool encode(WMsg* message);
    void lookForEvent();
    void lookForUnwantedEvent();
    void lookForDevice();
    void lookForEnded();
    void drop();

    void wakeUp(boost::asio::steady_timer* timer, std::chrono::duration<double> after,
                void (CommandRunner::*then)());
    void timeUp();
    void end(Reply reply);
    void fail(const std::string& sentence, Reply::Status status = Reply::Status::ERROR);

    boost::asio::io_context& mIo;
    Console& mConsole;
    DeviceSessions& mMonitor;
    MessageLog& mLog;
    boost::asio::steady_timer mTimer;
    boost::asio::steady_timer mAskTimer;
    Watcher* mWatcher = nullptr;

    std::deque<std::string> mQueue;
    std::optional<Run> mRun;
    uint64_t mRuns = 0;
    bool mStarting = false;
    bool mNoMore = false;
    bool mEnded = false;
    bool mFailed = false;
    bool mTimedOut = false;
    bool mExpectationFailed = false;
};

} // namespace server

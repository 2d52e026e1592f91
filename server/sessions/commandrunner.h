#ifndef SERVER_COMMANDRUNNER_H
#define SERVER_COMMANDRUNNER_H

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

    /// Told what becomes of each command.
    class Watcher
    {
    public:
        virtual ~Watcher() = default;
        virtual void commandBegun(const std::string& text) = 0;

        /// The reply to the command that has begun was printed. @p error is empty where there is none.
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

    /// True while so many lines wait that no more should be read; onSpaceAvailable ends that.
    bool full() const { return mQueue.size() >= kMaxWaiting; }

    /// Called from the event loop when there is room for further lines after full().
    std::function<void()> onSpaceAvailable = [] {};

    /// No further line will come.
    void endOfCommands();

    /// Looks whether what the running command waits for is there now.
    void monitorChanged();

    /// Ends the running command as timed out: the whole run's time is over. False when none was running.
    bool runTimedOut();

    /// True while a command has begun and has no reply.
    bool isRunning() const { return mRun.has_value(); }

    /// The commands that have not begun.
    const std::deque<std::string>& waiting() const { return mQueue; }

    /// 0, or the largest that applies: 2 when a command ended in error, 3 when one timed out, 4 when an
    /// expectation was not met.
    int exitStatus() const { return mExpectationFailed ? 4 : (mTimedOut ? 3 : (mFailed ? 2 : 0)); }

    /// The same for a run that is cut off: 0 or 4.
    int exitStatusCutOff() const { return mExpectationFailed ? 4 : 0; }

private:
    using Clock = std::chrono::steady_clock;

    struct Run
    {
        uint64_t id = 0;
        std::string text;
        Command command;
        Clock::time_point begun;
        std::weak_ptr<DeviceSession> session; ///< which an answer is expected of
        uint64_t request = 0;                 ///< its number for giveUp()
        MessageLog::Filter filter;            ///< of a message waited for, or of what is expected
        uint64_t looked = 0;                  ///< messages up to here don't match
        size_t answers = 0;
        std::shared_ptr<cObjectList> lastAnswer; ///< that was not as expected
    };

    void startNext();
    void begin();
    void exchange();
    void answered(const WMsg* answer);
    void takeAnswer(std::shared_ptr<cObjectList> answer);
    void send();
    bool encode(WMsg* message);
    void lookForEvent();
    void lookForUnwantedEvent();
    void lookForDevice();
    void lookForEnded();
    void drop();
    void quit();

    void armTimer();
    void wakeUp(boost::asio::steady_timer* timer, std::chrono::duration<double> after,
                void (CommandRunner::*then)());
    void timeUp();
    void end(Reply reply);
    void endWithError(const std::string& sentence);
    void endWithTimeout(const std::string& sentence);

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

#endif

#ifndef SERVER_COMMANDRUNNER_H
#define SERVER_COMMANDRUNNER_H

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "server/command.h"
#include "server/console.h"
#include "server/messagelog.h"
#include "server/monitor.h"

namespace server {

/// Runs commands one after the other and prints a reply to each.
class CommandRunner
{
public:
    static constexpr size_t kMostWaiting = 1000;

    /// Everything is borrowed.
    CommandRunner(asio::io_context& io, Console& console, Monitor& monitor, MessageLog& log);

    /// Called after "quit", or when the last command is done after endOfCommands().
    std::function<void()> onEnd;

    /// Queues a line; one that is no command is skipped.
    void submit(const std::string& line);

    /// True while so many lines wait that no more should be read; onRoom ends that.
    bool full() const { return mQueue.size() >= kMostWaiting; }

    /// Called from the event loop when there is room for further lines after full().
    std::function<void()> onRoom = [] {};

    /// No further line will come.
    void endOfCommands();

    /// Looks whether what the running command waits for is there now.
    void monitorChanged();

    /// Ends the running command, if there is one, as timed out: the whole run's time is over.
    void runTimedOut();

    /// 0, 2 when a command ended in error, or 3 when one timed out.
    int exitStatus() const { return mTimedOut ? 3 : (mFailed ? 2 : 0); }

private:
    using Clock = std::chrono::steady_clock;

    struct Run
    {
        uint64_t id = 0;
        std::string text;
        Command command;
        Clock::time_point begun;
        std::weak_ptr<DeviceSession> session; ///< which an answer is expected of
        uint8_t seq = 0;                      ///< of the request
        uint64_t looked = 0;                  ///< messages up to here don't match
    };

    void startNext();
    void begin();
    void exchange();
    void answered(const WMsg* answer);
    void send();
    bool encode(WMsg* message);
    void lookForEvent();
    void lookForDevice();
    void quit();

    void armTimer();
    void timeUp();
    void end(Reply reply);
    void endWithError(const std::string& sentence);
    void endWithTimeout(const std::string& sentence);

    asio::io_context& mIo;
    Console& mConsole;
    Monitor& mMonitor;
    MessageLog& mLog;
    asio::steady_timer mTimer;

    std::deque<std::string> mQueue;
    std::optional<Run> mRun;
    uint64_t mRuns = 0;
    bool mStarting = false;
    bool mNoMore = false;
    bool mEnded = false;
    bool mFailed = false;
    bool mTimedOut = false;
};

} // namespace server

#endif

#pragma once

#include <deque>
#include <functional>
#include <string>

#include "zulcommand/jsontext.h"

namespace zulcommand {

/// Runs the command lines of one client, one after the other; each program has its own commands.
class LineRunner
{
public:
    /// full() is true while this many lines wait, or more.
    static constexpr size_t kMaxWaiting = 1000;

    virtual ~LineRunner() = default;

    /// Called with the line of each reply; it must not call the runner.
    std::function<void(const JsonPtr&)> onReply;

    /// Called when a command that had to wait has ended: the next one may be run.
    std::function<void()> onReady;

    /// Called after the reply to "quit".
    std::function<void()> onQuit;

    /// Queues a line; one that is no command is skipped.
    void submit(const std::string& line);

    /// True if no further line should be submitted for now.
    bool full() const { return mQueue.size() >= kMaxWaiting; }
    virtual bool isRunning() const = 0;

    /// True if no command runs or waits.
    bool isIdle() const { return !isRunning() && mQueue.empty(); }

    /// Runs the next command, if there is one and none is running.
    void runNext();

protected:
    void dropWaiting() { mQueue.clear(); }

private:
    /// Begins the command @p text.
    virtual void begin(std::string text) = 0;

    std::deque<std::string> mQueue;
};

} // namespace zulcommand

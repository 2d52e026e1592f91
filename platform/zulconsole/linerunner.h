#pragma once

#include <functional>
#include <string>

#include "zulcommand/jsontext.h"

namespace zulconsole {

/// Runs the commands of one client, one after the other; each program has its own.
class LineRunner
{
public:
    virtual ~LineRunner() = default;

    /// Called with the line of each reply; it must not call the runner.
    std::function<void(const zulcommand::JsonPtr&)> onReply;

    /// Called after a command that had to wait: the next one may be run.
    std::function<void()> onReady;

    /// Called after the reply to "quit".
    std::function<void()> onQuit;

    /// Queues a line; one that is no command is skipped.
    virtual void submit(const std::string& line) = 0;

    /// True if no further line should be submitted for now.
    virtual bool full() const = 0;
    virtual bool isRunning() const = 0;

    /// True if no command runs or waits.
    virtual bool isIdle() const = 0;

    /// Runs the next command, if there is one and none is running.
    virtual void runNext() = 0;
};

} // namespace zulconsole

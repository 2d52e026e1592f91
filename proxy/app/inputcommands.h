#pragma once

#include <boost/asio/io_context.hpp>
#include <functional>
#include <memory>
#include <string>

#include "zulcommand/linerunner.h"
#include "zulconsole/console.h"
#include "zulconsole/lineinput.h"
#include "zulconsole/prompt.h"

namespace proxy {

/// Runs the commands that are typed at standard input. Its end ends nothing.
class InputCommands
{
public:
    /// Reads from @p fd, a terminal, a pipe or a file, and writes the replies to @p console; both are
    /// borrowed.
    InputCommands(boost::asio::io_context& io, int fd, zulconsole::Console& console,
                  std::unique_ptr<zulcommand::LineRunner> runner);
    ~InputCommands();
    InputCommands(const InputCommands&) = delete;
    InputCommands& operator=(const InputCommands&) = delete;

    /// Called after the reply to "quit".
    std::function<void()> onQuit;

private:
    void submit(const std::string& line);
    void run();

    boost::asio::io_context& mIo;
    zulconsole::Console& mConsole;
    const std::unique_ptr<zulcommand::LineRunner> mRunner;
    std::unique_ptr<zulconsole::LineInput> mLineInput; ///< null at a terminal
    std::unique_ptr<zulconsole::Prompt> mPrompt;       ///< null if there is no terminal
    bool mRunning = false;
};

} // namespace proxy

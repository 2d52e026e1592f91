#include "proxy/app/inputcommands.h"

#include <boost/asio/post.hpp>
#include <utility>

#include "zulcommand/commandwords.h"

namespace proxy {

InputCommands::InputCommands(boost::asio::io_context& io, int fd, zulconsole::Console& console,
                             std::unique_ptr<zulcommand::LineRunner> runner)
    : mIo(io), mConsole(console), mRunner(std::move(runner))
{
    mRunner->onReply = [this](const zulcommand::JsonPtr& line) { mConsole.line(line); };
    mRunner->onReady = [this] { run(); };
    mRunner->onQuit = [this] { onQuit(); };
    if (zulconsole::Prompt::possibleAt(fd)) {
        mPrompt = std::make_unique<zulconsole::Prompt>(mIo, fd, "zulproxy");
        mPrompt->onLine = [this](const std::string& line) { submit(line); };
        mPrompt->start();
        mConsole.setPrompt(mPrompt.get());
        return;
    }
    mLineInput = std::make_unique<zulconsole::LineInput>(mIo, fd, zulcommand::kMaxCommandBytes);
    mLineInput->onLine = [this](const std::string& line) { submit(line); };
    mLineInput->onError = [this](const std::string& reason) {
        mConsole.report("Commands cannot be read any more: " + reason + ".");
    };
    mLineInput->start();
}

InputCommands::~InputCommands() { mConsole.setPrompt(nullptr); }

void InputCommands::submit(const std::string& line)
{
    mRunner->submit(line);
    if (mLineInput && mRunner->full()) {
        mLineInput->hold();
    }
    // Later, as many lines may come at once.
    if (!std::exchange(mRunning, true)) {
        boost::asio::post(mIo, [this] { run(); });
    }
}

/// Runs one command, so that connections do not wait for many.
void InputCommands::run()
{
    mRunning = false;
    mRunner->runNext();
    if (!mRunner->isIdle() && !mRunner->isRunning() && !std::exchange(mRunning, true)) {
        boost::asio::post(mIo, [this] { run(); });
    }
    if (mLineInput && !mRunner->full()) {
        mLineInput->resume();
    }
}

} // namespace proxy

#pragma once

#include <functional>
#include <string>

#include "server/io/nonblockinglinewriter.h"
#include "server/io/prompt.h"
#include "zulcommand/jsontext.h"

namespace server {

/// Writes JSON lines to the output and everything else to the error stream.
class Console
{
public:
    /// @p errorFd is borrowed. Without @p verbose debug() does nothing.
    Console(boost::asio::io_context& io, int outputFd, int errorFd, bool verbose)
        : mOutput(io, outputFd), mErrorFd(errorFd), mVerbose(verbose)
    {}

    NonBlockingLineWriter& output() { return mOutput; }

    /// Hides what the user is typing at @p prompt, borrowed, while a line is written. Null for none.
    void setPrompt(Prompt* prompt) { mPrompt = prompt; }

    /// Called with each line, before it is written.
    std::function<void(const std::string&)> onLine = [](const std::string&) {};

    /// Writes @p json, with the time of now, as one line.
    void line(const zulcommand::JsonPtr& json);

    /// Writes the program's name and @p sentence as one line; drops it if the error stream takes nothing.
    void report(const std::string& sentence);
    void debug(const std::string& sentence);

    /// Writes @p lines as they are.
    void text(const std::string& lines);

private:
    void writeBesidePrompt(const std::function<void()>& write);

    NonBlockingLineWriter mOutput;
    int mErrorFd;
    bool mVerbose;
    Prompt* mPrompt = nullptr;
};

} // namespace server

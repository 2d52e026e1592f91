#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zulcommand/jsontext.h"
#include "zulconsole/nonblockinglinewriter.h"
#include "zulconsole/prompt.h"

namespace zulconsole {

/// Writes JSON lines to the output and everything else to the error stream.
class Console
{
public:
    /// The descriptors are borrowed. Sentences begin with @p program. Without @p verbose debug() does
    /// nothing.
    Console(boost::asio::io_context& io, std::string program, int outputFd, int errorFd, bool verbose)
        : mProgram(std::move(program)), mOutput(io, outputFd), mErrorFd(errorFd), mVerbose(verbose)
    {}

    NonBlockingLineWriter& output() { return mOutput; }

    /// Hides what the user is typing at @p prompt, borrowed, while a line is written. Null for none.
    void setPrompt(Prompt* prompt) { mPrompt = prompt; }

    /// Called with each line, before it is written.
    std::function<void(const std::string&)> onLine = [](const std::string&) {};

    /// Leaves out the lines whose "event" is one of @p events.
    void setQuiet(std::vector<std::string> events) { mQuiet = std::move(events); }

    /// False if lines with this "event" are left out, so that they need not be made.
    bool shows(std::string_view event) const { return std::ranges::find(mQuiet, event) == mQuiet.end(); }

    /// Writes @p json, with the time of now, as one line, unless it is left out.
    void line(const zulcommand::JsonPtr& json);

    /// Writes the program's name and @p sentence as one line; drops it if the error stream takes nothing.
    void report(const std::string& sentence);
    void debug(const std::string& sentence);

    /// Writes @p lines as they are.
    void text(const std::string& lines);

private:
    void writeBesidePrompt(const std::function<void()>& write);

    const std::string mProgram;
    NonBlockingLineWriter mOutput;
    int mErrorFd;
    bool mVerbose;
    std::vector<std::string> mQuiet;
    Prompt* mPrompt = nullptr;
};

} // namespace zulconsole

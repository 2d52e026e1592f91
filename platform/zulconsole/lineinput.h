#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <functional>
#include <string>

#include "zulcommand/linesplitter.h"

namespace zulconsole {

/// Reads lines from a pipe, a file or a plain terminal, until its end.
class LineInput
{
public:
    /// Reads from a duplicate of @p fd, made by start(), and leaves its modes as they are. A line longer than
    /// @p maxBytes is cut after one byte more, so that the listener sees that it is too long.
    LineInput(boost::asio::io_context& io, int fd, size_t maxBytes)
        : mIo(io), mStream(io), mFd(fd), mLines(maxBytes)
    {}

    /// Called for each line, without its end.
    std::function<void(const std::string&)> onLine;

    /// Called once if the input cannot be read any more, with the reason; not at its end.
    std::function<void(const std::string&)> onError;

    /// Called once behind the last line.
    std::function<void()> onEnd = [] {};

    void start();

    /// Called from onLine: reads nothing after the current block of input until resume().
    void hold() { mHeld = true; }
    void resume();

private:
    void waitForInput();
    void readNow();
    void endInput(int error);

    boost::asio::io_context& mIo;
    boost::asio::posix::stream_descriptor mStream;
    const int mFd;
    zulcommand::LineSplitter mLines;
    bool mHeld = false;
};

} // namespace zulconsole

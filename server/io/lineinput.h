#ifndef SERVER_LINEINPUT_H
#define SERVER_LINEINPUT_H

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <functional>
#include <string>

namespace server {

/// Reads lines from a pipe, a file or a plain terminal, until its end.
class LineInput
{
public:
    /// Reads from a duplicate of @p fd and leaves its modes as they are. A line longer than
    /// @p mostBytes loses its end, but for one byte by which it shows.
    LineInput(boost::asio::io_context& io, int fd, size_t mostBytes);

    /// Called for each line, without its end.
    std::function<void(const std::string&)> onLine;

    /// Called once when the input can't be read any more, with the reason; not for its end.
    std::function<void(const std::string&)> onError;

    void start();

    /// Called from onLine: reads nothing after the block of input that is at hand, until resume().
    void hold() { mHeld = true; }
    void resume();

private:
    void waitForInput();
    void readNow();
    void endInput(int error);
    void take(const char* data, size_t size);
    void finishLine();

    boost::asio::io_context& mIo;
    boost::asio::posix::stream_descriptor mStream;
    int mOpenError = 0;
    const size_t mMostBytes;
    std::string mLine;
    bool mHeld = false;
};

} // namespace server

#endif

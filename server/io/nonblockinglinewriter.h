#ifndef SERVER_NONBLOCKINGLINEWRITER_H
#define SERVER_NONBLOCKINGLINEWRITER_H

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <functional>
#include <string>

namespace server {

/// Writes whole lines to a descriptor without ever blocking on a reader that is slow.
///
/// A line is on its way when writeLine() returns, as far as the reader takes it; the rest follows when it
/// does.
class NonBlockingLineWriter
{
public:
    /// Above so many bytes that nobody reads, congested() asks for less.
    static constexpr size_t kCongestedBytes = 4 * 1024 * 1024;

    /// Writes to a duplicate of @p fd, a stream that outlives this object. Throws boost::system::system_error
    /// if the system grants no descriptor, as Asio does.
    NonBlockingLineWriter(boost::asio::io_context& io, int fd);

    /// Called when a congested output is no longer so.
    std::function<void()> onWritable;

    /// Called once, from the event loop, when nothing can be written any more, with the reason.
    std::function<void(const std::string&)> onWriteFailed;

    /// Appends @p line and a line end.
    void writeLine(const std::string& line);

    bool congested() const { return mCongested; }

    /// Takes no further line, writes what is left and waits for a slow reader up to @p timeoutMs.
    /// False when something was left.
    bool finish(int timeoutMs);

private:
    bool writable(int timeoutMs) const;
    bool writeSome();
    void writeWhatGoes();
    void breakOff(int error);

    boost::asio::io_context& mIo;
    boost::asio::posix::stream_descriptor mStream;
    std::string mPending;
    size_t mWritten = 0; ///< of mPending
    bool mWaiting = false;
    bool mCongested = false;
    bool mEnded = false;
};

} // namespace server

#endif

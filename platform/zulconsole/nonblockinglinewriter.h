#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <functional>
#include <string>

namespace zulconsole {

/// Writes lines to a descriptor without blocking on a slow reader.
///
/// writeLine() writes as much as the reader takes at once; the event loop writes the rest.
class NonBlockingLineWriter
{
public:
    /// congested() is true while more bytes than this wait.
    static constexpr size_t kCongestedBytes = 4 * 1024 * 1024;

    /// Writes to a duplicate of @p fd, a stream that outlives this object. Throws boost::system::system_error
    /// if the system grants no descriptor, as Asio does.
    NonBlockingLineWriter(boost::asio::io_context& io, int fd);

    /// Called when congested() has become false.
    std::function<void()> onWritable;

    /// Called once from the event loop, with the reason, if nothing can be written any more.
    std::function<void(const std::string&)> onWriteFailed;

    /// Whether @p fd takes bytes within @p timeoutMs, or an error is to be had from it.
    static bool writable(int fd, int timeoutMs);

    /// Appends @p line and a line end.
    void writeLine(const std::string& line);

    bool congested() const { return mCongested; }

    /// Writes what is left, waiting for a slow reader up to @p timeoutMs, and accepts no further line. False
    /// if something was left.
    bool finish(int timeoutMs);

private:
    size_t pending() const { return mPending.size() - mWritten; }
    bool writeSome();
    void writeWhatGoes();

    boost::asio::io_context& mIo;
    boost::asio::posix::stream_descriptor mStream;
    std::string mPending;
    size_t mWritten = 0; ///< of mPending
    bool mWaiting = false;
    bool mCongested = false;
    bool mEnded = false;
};

} // namespace zulconsole

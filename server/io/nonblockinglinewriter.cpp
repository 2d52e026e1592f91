#include "server/io/nonblockinglinewriter.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <boost/system/system_error.hpp>
#include <cerrno>
#include <climits>
#include <poll.h>
#include <system_error>
#include <unistd.h>

namespace server {

namespace {

int duplicateOf(int fd)
{
    const int copy = ::dup(fd);
    if (copy < 0) {
        throw boost::system::system_error(errno, boost::system::generic_category());
    }
    return copy;
}

} // namespace

NonBlockingLineWriter::NonBlockingLineWriter(boost::asio::io_context& io, int fd)
    : mIo(io), mStream(io, duplicateOf(fd))
{}

void NonBlockingLineWriter::writeLine(const std::string& line)
{
    if (mEnded) {
        return;
    }
    mPending += line;
    mPending += '\n';
    if (!mWaiting) {
        writeWhatGoes();
    }
    mCongested = mPending.size() - mWritten > kCongestedBytes;
}

bool NonBlockingLineWriter::finish(int timeoutMs)
{
    if (mEnded) {
        return true; // onWriteFailed was called
    }
    while (!mEnded && mWritten < mPending.size() && writable(timeoutMs)) {
        writeSome();
    }
    const bool all = mWritten == mPending.size();
    mEnded = true;
    boost::system::error_code ignored;
    mStream.close(ignored);
    return all;
}

bool NonBlockingLineWriter::writable(int timeoutMs) const
{
    pollfd entry{const_cast<boost::asio::posix::stream_descriptor&>(mStream).native_handle(), POLLOUT, 0};
    int ready = ::poll(&entry, 1, timeoutMs);
    while (ready < 0 && errno == EINTR) {
        ready = ::poll(&entry, 1, timeoutMs);
    }
    return ready > 0;
}

/// Writes as much as a writable pipe takes without blocking. False if nothing can be written now.
bool NonBlockingLineWriter::writeSome()
{
    const size_t size = std::min<size_t>(mPending.size() - mWritten, PIPE_BUF);
    const ssize_t count = ::write(mStream.native_handle(), mPending.data() + mWritten, size);
    if (count < 0) {
        const int error = errno;
        if (error != EINTR && error != EAGAIN) {
            breakOff(error);
        }
        return error == EINTR;
    }
    mWritten += static_cast<size_t>(count);
    return true;
}

void NonBlockingLineWriter::writeWhatGoes()
{
    while (!mEnded && mWritten < mPending.size() && writable(0) && writeSome()) {
    }
    if (mEnded || mWritten == mPending.size()) {
        mPending.clear();
        mWritten = 0;
        return;
    }
    if (mWritten > kCongestedBytes) {
        mPending.erase(0, mWritten);
        mWritten = 0;
    }
    mWaiting = true;
    mStream.async_wait(boost::asio::posix::stream_descriptor::wait_write,
                       [this](const boost::system::error_code& error) {
                           mWaiting = false;
                           if (error) {
                               return;
                           }
                           writeWhatGoes();
                           if (mCongested && mPending.size() - mWritten <= kCongestedBytes / 2) {
                               mCongested = false;
                               onWritable();
                           }
                       });
}

void NonBlockingLineWriter::breakOff(int error)
{
    mEnded = true;
    boost::asio::post(mIo, [this, error] { onWriteFailed(std::generic_category().message(error)); });
}

} // namespace server

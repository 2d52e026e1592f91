#include "zulconsole/nonblockinglinewriter.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <boost/system/system_error.hpp>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <poll.h>
#include <system_error>
#include <unistd.h>

namespace zulconsole {

NonBlockingLineWriter::NonBlockingLineWriter(boost::asio::io_context& io, int fd) : mIo(io), mStream(io)
{
    const int copy = ::fcntl(fd, F_DUPFD_CLOEXEC, 0);
    if (copy < 0) {
        throw boost::system::system_error(errno, boost::system::generic_category());
    }
    mStream.assign(copy);
}

bool NonBlockingLineWriter::writable(int fd, int timeoutMs)
{
    pollfd entry{fd, POLLOUT, 0};
    int ready = ::poll(&entry, 1, timeoutMs);
    while (ready < 0 && errno == EINTR) {
        ready = ::poll(&entry, 1, timeoutMs);
    }
    return ready > 0;
}

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
    mCongested = pending() > kCongestedBytes;
}

bool NonBlockingLineWriter::finish(int timeoutMs)
{
    if (mEnded) {
        return true; // onWriteFailed was called
    }
    while (!mEnded && pending() > 0 && writable(mStream.native_handle(), timeoutMs)) {
        writeSome();
    }
    mEnded = true;
    boost::system::error_code ignored;
    mStream.close(ignored);
    return pending() == 0;
}

/// Writes as much as a writable pipe takes without blocking. False if nothing can be written now.
bool NonBlockingLineWriter::writeSome()
{
    const size_t size = std::min<size_t>(pending(), PIPE_BUF);
    const ssize_t count = ::write(mStream.native_handle(), mPending.data() + mWritten, size);
    if (count >= 0) {
        mWritten += static_cast<size_t>(count);
        return true;
    }
    const int error = errno;
    if (error != EINTR && error != EAGAIN) {
        mEnded = true;
        boost::asio::post(mIo, [this, error] { onWriteFailed(std::generic_category().message(error)); });
    }
    return error == EINTR;
}

void NonBlockingLineWriter::writeWhatGoes()
{
    while (!mEnded && pending() > 0 && writable(mStream.native_handle(), 0) && writeSome()) {
    }
    const bool all = mEnded || pending() == 0;
    if (all || mWritten > kCongestedBytes) {
        mPending.erase(0, mEnded ? std::string::npos : mWritten);
        mWritten = 0;
    }
    if (all) {
        return;
    }
    mWaiting = true;
    mStream.async_wait(boost::asio::posix::stream_descriptor::wait_write,
                       [this](const boost::system::error_code& error) {
                           mWaiting = false;
                           if (error) {
                               return;
                           }
                           writeWhatGoes();
                           if (mCongested && pending() <= kCongestedBytes / 2) {
                               mCongested = false;
                               onWritable();
                           }
                       });
}

} // namespace zulconsole

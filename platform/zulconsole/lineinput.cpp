#include "zulconsole/lineinput.h"

#include <array>
#include <boost/asio/post.hpp>
#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace zulconsole {

void LineInput::start()
{
    const int copy = ::fcntl(mFd, F_DUPFD_CLOEXEC, 0);
    boost::system::error_code error(copy < 0 ? errno : 0, boost::system::system_category());
    if (copy >= 0) {
        mStream.assign(copy, error);
    }
    if (!error) {
        waitForInput();
        return;
    }
    ::close(copy);
    onError(error.message());
}

void LineInput::waitForInput()
{
    if (!mStream.is_open() || mHeld) {
        return;
    }
    // async_wait() leaves the descriptor blocking: a terminal shares its modes with other programs.
    mStream.async_wait(boost::asio::posix::stream_descriptor::wait_read,
                       [this](const boost::system::error_code& error) {
                           if (error == boost::asio::error::operation_not_supported) {
                               // A regular file cannot be waited for; it is always ready.
                               boost::asio::post(mIo, [this] { readNow(); });
                           } else if (!error) {
                               readNow();
                           } else if (error != boost::asio::error::operation_aborted) {
                               endInput(error.value());
                           }
                       });
}

void LineInput::resume()
{
    if (mHeld) {
        mHeld = false;
        waitForInput();
    }
}

void LineInput::readNow()
{
    std::array<char, 4096> data;
    const ssize_t size = ::read(mStream.native_handle(), data.data(), data.size());
    if (size > 0) {
        mLines.take(data.data(), static_cast<size_t>(size), onLine);
    } else if (size == 0 || (errno != EAGAIN && errno != EINTR)) {
        endInput(size == 0 ? 0 : errno);
        return;
    }
    waitForInput();
}

/// @p error is 0 at the end of the input.
void LineInput::endInput(int error)
{
    boost::system::error_code ignored;
    mStream.close(ignored);
    onLine(mLines.rest());
    onEnd();
    if (error != 0) {
        onError(std::generic_category().message(error));
    }
}

} // namespace zulconsole

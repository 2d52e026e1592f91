#include "zulconsole/controlclient.h"

#include <array>
#include <boost/asio/post.hpp>
#include <cerrno>
#include <chrono>
#include <sys/socket.h>
#include <utility>

#include "zulcommand/commandwords.h"

using boost::system::error_code;

namespace zulconsole {

namespace {

/// After this time the event loop handles other events before further commands.
constexpr auto kTimeSlice = std::chrono::milliseconds(5);

} // namespace

ControlClient::ControlClient(boost::asio::io_context& io, Socket socket,
                             std::unique_ptr<zulcommand::LineRunner> runner)
    : mIo(io), mSocket(std::move(socket)), mRunner(std::move(runner)), mLines(zulcommand::kMaxCommandBytes)
{
    error_code ignored;
    mSocket.non_blocking(true, ignored);
    mRunner->onReply = [this](const zulcommand::JsonPtr& line) {
        writeLine(zulcommand::lineText(line, std::chrono::system_clock::now()));
    };
    mRunner->onReady = [this] { runCommands(); };
    mRunner->onQuit = [this] {
        flush();
        onQuit();
    };
}

void ControlClient::start() { waitForInput(); }

void ControlClient::close()
{
    mBroken = true;
    error_code ignored;
    mSocket.close(ignored);
    tellIfOver();
}

void ControlClient::abandon()
{
    onOver = [] {};
    close();
    mRunner.reset();
}

void ControlClient::tellIfOver()
{
    if (isOver()) {
        boost::asio::post(mIo, [self = shared_from_this()] { self->onOver(); });
    }
}

void ControlClient::waitForInput()
{
    if (mReading || mInputEnded || mBroken || mRunner->full()) {
        return;
    }
    mReading = true;
    mSocket.async_wait(Socket::wait_read, [self = shared_from_this()](const error_code& error) {
        self->mReading = false;
        if (!error && !self->mBroken) {
            self->readNow();
        }
    });
}

void ControlClient::readNow()
{
    std::array<char, 16384> data;
    const auto submit = [this](const std::string& line) { mRunner->submit(line); };
    const ssize_t size = ::recv(mSocket.native_handle(), data.data(), data.size(), MSG_DONTWAIT);
    if (size > 0) {
        mLines.take(data.data(), static_cast<size_t>(size), submit);
    } else if (size == 0) {
        mInputEnded = true;
        submit(mLines.rest());
    } else if (errno != EAGAIN && errno != EINTR) {
        return close();
    }
    runCommands();
}

void ControlClient::runCommands()
{
    const auto end = std::chrono::steady_clock::now() + kTimeSlice;
    while (!mBroken && !mRunner->isIdle() && !mRunner->isRunning()) {
        if (std::chrono::steady_clock::now() >= end) {
            boost::asio::post(mIo, [self = shared_from_this()] { self->runCommands(); });
            return;
        }
        mRunner->runNext();
    }
    waitForInput();
    tellIfOver();
}

void ControlClient::writeLine(const std::string& line)
{
    if (mBroken) {
        return;
    }
    mOutput.append(line).push_back('\n');
    if (!mFlushing) {
        flush();
    }
    if (mOutput.size() - mWritten > kMaxUnread) {
        close();
    }
}

void ControlClient::flush()
{
    while (!mBroken && mWritten < mOutput.size()) {
        const ssize_t size = ::send(mSocket.native_handle(), mOutput.data() + mWritten,
                                    mOutput.size() - mWritten, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (size >= 0) {
            mWritten += static_cast<size_t>(size);
        } else if (errno == EAGAIN) {
            mFlushing = true;
            mSocket.async_wait(Socket::wait_write, [self = shared_from_this()](const error_code& error) {
                self->mFlushing = false;
                if (!error && !self->mBroken) {
                    self->flush();
                }
            });
            return;
        } else if (errno != EINTR) {
            return close();
        }
    }
    mOutput.clear();
    mWritten = 0;
    tellIfOver();
}

} // namespace zulconsole

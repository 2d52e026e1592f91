#include "ccontrolconnection.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "zulcommand/commandwords.h"

namespace {

/// How often to look whether a client that has ended its side is gone altogether.
constexpr int kHangupCheckMs = 1000;

} // namespace

cControlConnection::cControlConnection(int fd)
    : mFd(fd),
      mLines(zulcommand::kMaxCommandBytes),
      mReadable(fd, QSocketNotifier::Read),
      mWritable(fd, QSocketNotifier::Write)
{
    mWritable.setEnabled(false);
    mFlush.setSingleShot(true);
    QObject::connect(&mReadable, &QSocketNotifier::activated, [this] { read(); });
    QObject::connect(&mWritable, &QSocketNotifier::activated, [this] {
        flush();
        onChanged();
    });
    QObject::connect(&mHangupCheck, &QTimer::timeout, [this] {
        // A client that only ended its side still reads.
        pollfd wait = {mFd, 0, 0};
        if (::poll(&wait, 1, 0) == 1 && (wait.revents & POLLHUP) != 0) {
            breakOff();
        }
    });
    QObject::connect(&mFlush, &QTimer::timeout, [this] {
        flush();
        onChanged();
    });
}

cControlConnection::~cControlConnection()
{
    mReadable.setEnabled(false);
    mWritable.setEnabled(false);
    ::close(mFd);
}

void cControlConnection::setReading(bool reading)
{
    mReading = reading;
    mReadable.setEnabled(mReading && !mInputEnded && !mBroken);
}

void cControlConnection::read()
{
    std::array<char, 16384> data;
    const ssize_t size = ::recv(mFd, data.data(), data.size(), MSG_DONTWAIT);
    if (size > 0) {
        mLines.take(data.data(), static_cast<size_t>(size), onLine);
    } else if (size == 0) {
        mInputEnded = true;
        setReading(false);
        mHangupCheck.start(kHangupCheckMs);
        onLine(mLines.rest());
    } else if (errno != EAGAIN && errno != EINTR) {
        breakOff();
    }
    onChanged();
}

void cControlConnection::writeLine(const std::string& line)
{
    if (mBroken) {
        return;
    }
    mOutput.append(line).push_back('\n');
    if (mOutput.size() - mWritten > kMaxUnread) {
        flush();
    }
    if (mOutput.size() - mWritten > kMaxUnread) {
        breakOff();
    }
    if (!mFlush.isActive() && !mWritable.isEnabled()) {
        mFlush.start(0);
    }
}

void cControlConnection::flush()
{
    mFlush.stop();
    while (!mBroken && hasOutput()) {
        const ssize_t size =
            ::send(mFd, mOutput.data() + mWritten, mOutput.size() - mWritten, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (size >= 0) {
            mWritten += static_cast<size_t>(size);
        } else if (errno == EAGAIN) {
            mWritable.setEnabled(true);
            return;
        } else if (errno != EINTR) {
            breakOff();
        }
    }
    mOutput.clear();
    mWritten = 0;
    mWritable.setEnabled(false);
}

/// The owner deletes the connection from the event loop.
void cControlConnection::breakOff()
{
    mBroken = true;
    mOutput.clear();
    mWritten = 0;
    mReadable.setEnabled(false);
    mWritable.setEnabled(false);
    mHangupCheck.stop();
    mFlush.start(0);
}

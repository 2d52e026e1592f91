#include "server/sessions/connection.h"

#include <algorithm>
#include <array>
#include <boost/asio/post.hpp>
#include <sstream>
#include <utility>

#include "zullink/linkclock.h"

namespace server {

namespace {

/// Bytes of ping answers that go out at once.
constexpr size_t kMaxPingAnswers = 4096;

std::string peerOf(const boost::asio::ip::tcp::socket& socket)
{
    boost::system::error_code error;
    const boost::asio::ip::tcp::endpoint endpoint = socket.remote_endpoint(error);
    std::ostringstream text;
    text << endpoint;
    return text.str();
}

} // namespace

Connection::Connection(boost::asio::ip::tcp::socket socket, const LinkSettings& settings, Owner* owner)
    : mSettings(settings),
      mOwner(owner),
      mSocket(std::move(socket)),
      mRecord(cCapturedLink::of(settings.capture, mSocket.native_handle(), cCapturedLink::ACCEPTED)),
      mTimer(mSocket.get_executor()),
      mPeer(peerOf(mSocket))
{}

void Connection::start()
{
    boost::system::error_code ignored;
    mSocket.set_option(boost::asio::ip::tcp::no_delay(true), ignored);
    mSocket.non_blocking(true, ignored);
    mHeardMs = linkNowMs();
    armTimer();
    read();
}

void Connection::send(const WMsg& message)
{
    if (mClosed) {
        return;
    }
    const size_t before = mWaiting.size();
    message.appendFrames(mWaiting);
    if (mWriting.size() - mWritten + mWaiting.size() > mSettings.queueBytes) {
        mWaiting.resize(before);
        // Later, as the caller may be in the middle of something that the end of the connection changes.
        boost::asio::post(mSocket.get_executor(), [self = shared_from_this()] {
            self->close("it does not read what is sent to it");
        });
        return;
    }
    writeMore();
}

void Connection::resumeReading()
{
    if (mHeld) {
        mHeld = false;
        mHeardMs = linkNowMs();
        mHeldMs += mHeardMs - mHeldSinceMs;
        read();
    }
}

void Connection::close(const std::string& reason)
{
    if (mClosed) {
        return;
    }
    Owner* const owner = mOwner;
    abandon();
    owner->connectionClosed(reason);
}

void Connection::abandon()
{
    mClosed = true;
    mOwner = nullptr;
    mTimer.cancel();
    boost::system::error_code ignored;
    mSocket.close(ignored);
}

void Connection::read()
{
    if (mOwner->readingHeld()) {
        mHeld = true;
        mHeldSinceMs = linkNowMs();
        return;
    }
    mSocket.async_wait(boost::asio::ip::tcp::socket::wait_read,
                       [self = shared_from_this()](const boost::system::error_code& failed) {
                           if (!self->mClosed) {
                               self->readSome(failed);
                           }
                       });
}

void Connection::readSome(boost::system::error_code error)
{
    // Of the connection's own it would be most of what an idle one takes.
    std::array<uint8_t, 16384> bytes;
    const size_t size = error ? 0 : mSocket.read_some(boost::asio::buffer(bytes), error);
    if (error == boost::asio::error::would_block || error == boost::asio::error::interrupted) {
        read();
    } else {
        received(bytes.data(), size, error);
    }
}

void Connection::received(const uint8_t* bytes, size_t size, const boost::system::error_code& error)
{
    if (mRecord && size > 0) {
        mRecord->received(bytes, size);
    }
    if (error) {
        recordEnd(error);
        close(error == boost::asio::error::eof ? "the peer closed the connection" : error.message());
        return;
    }
    mHeardMs = linkNowMs();
    mPinged = false;
    if (handleBytes(bytes, size)) {
        read();
    }
}

/// False when the connection has been closed.
bool Connection::handleBytes(const uint8_t* data, size_t size)
{
    WMsg message;
    for (;;) {
        switch (mReader.read(&data, &size, mHeardMs - mHeldMs, &message)) {
        case WMsgReader::MORE:
            return true;
        case WMsgReader::BROKEN:
            close("it sent broken bytes: " + mReader.status().text());
            return false;
        case WMsgReader::MESSAGE:
            if (!handleMessage(std::move(message))) {
                return false;
            }
        }
    }
}

bool Connection::handleMessage(WMsg&& message)
{
    if (!message.control) {
        mOwner->connectionMessage(std::move(message));
    } else if (!message.answer && message.type == wmsg::kControlPing) {
        ++mPingsUnanswered;
        writeMore();
    }
    return !mClosed;
}

void Connection::writeMore()
{
    if (mBusy || mClosed) {
        return;
    }
    if (mWritten == mWriting.size()) {
        mWriting = std::exchange(mWaiting, {});
        mWritten = 0;
        for (; mPingsUnanswered > 0 && mWriting.size() < kMaxPingAnswers; --mPingsUnanswered) {
            WMsg::ping(true).appendFrames(mWriting);
        }
    }
    if (mWriting.empty()) {
        return;
    }
    mBusy = true;
    mProgressMs = linkNowMs();
    writeSome();
}

/// Writes at once, so that what was sent is recorded also where the program ends before a handler runs.
void Connection::writeSome()
{
    boost::system::error_code error;
    const auto rest = boost::asio::buffer(mWriting.data() + mWritten, mWriting.size() - mWritten);
    const size_t size = mSocket.write_some(rest, error);
    if (mRecord && size > 0) {
        mRecord->sending(mWriting.data() + mWritten, [size] { return static_cast<ssize_t>(size); });
    }
    if (error == boost::asio::error::would_block || error == boost::asio::error::interrupted) {
        mSocket.async_wait(boost::asio::ip::tcp::socket::wait_write,
                           [self = shared_from_this()](const boost::system::error_code& failed) {
                               if (failed || self->mClosed) {
                                   self->written(failed, 0);
                               } else {
                                   self->writeSome();
                               }
                           });
        return;
    }
    boost::asio::post(mSocket.get_executor(),
                      [self = shared_from_this(), error, size] { self->written(error, size); });
}

void Connection::written(const boost::system::error_code& error, size_t size)
{
    mBusy = false;
    if (mClosed) {
        return;
    }
    if (error) {
        recordEnd(error);
        close(error.message());
        return;
    }
    mWritten += size;
    writeMore();
}

/// The peer has closed the connection, or it is broken.
void Connection::recordEnd(const boost::system::error_code& error)
{
    if (mRecord) {
        error == boost::asio::error::eof ? mRecord->peerClosed() : mRecord->peerReset();
    }
}

void Connection::armTimer()
{
    const int tickMs = std::clamp(mSettings.pingAfterMs / 10, 1, 1000);
    mTimer.expires_after(std::chrono::milliseconds(tickMs));
    mTimer.async_wait([self = shared_from_this()](const boost::system::error_code& error) {
        if (!error && !self->mClosed) {
            self->checkTimes();
        }
    });
}

void Connection::checkTimes()
{
    const int64_t nowMs = linkNowMs();
    if (mHeld) {
        mHeardMs = nowMs;
    }
    const std::string reason = lateReason(nowMs);
    if (!reason.empty()) {
        close(reason);
        return;
    }
    if (nowMs - mHeardMs >= mSettings.pingAfterMs && !mPinged) {
        mPinged = true;
        send(WMsg::ping(false));
    }
    armTimer();
}

std::string Connection::lateReason(int64_t nowMs) const
{
    if (nowMs - mHeardMs >= mSettings.giveUpAfterMs) {
        return "it is silent";
    }
    if (!mHeld && mReader.overdue(nowMs - mHeldMs)) {
        return "a message takes too long to arrive";
    }
    if (mBusy && nowMs - mProgressMs >= mSettings.giveUpAfterMs) {
        return "it does not read what is sent to it";
    }
    return {};
}

} // namespace server

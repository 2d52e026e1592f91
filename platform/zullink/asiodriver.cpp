#include "zullink/asiodriver.h"

#include <array>
#include <boost/asio/post.hpp>
#include <chrono>
#include <sstream>
#include <utility>

using boost::asio::ip::tcp;
using boost::system::error_code;

namespace {

std::string peerOf(const tcp::socket& socket)
{
    error_code error;
    std::ostringstream text;
    text << socket.remote_endpoint(error);
    return text.str();
}

bool isTemporary(const error_code& error)
{
    return error == boost::asio::error::would_block || error == boost::asio::error::interrupted;
}

} // namespace

AsioDriver::AsioDriver(tcp::socket socket, const LinkSession::Settings& settings, LinkNumbers* numbers,
                       std::unique_ptr<cCapturedLink> record, Owner* owner)
    : mOwner(owner),
      mSocket(std::move(socket)),
      mRecord(std::move(record)),
      mPeer(peerOf(mSocket)),
      mSession(settings, numbers),
      mTimer(mSocket.get_executor())
{}

void AsioDriver::start()
{
    error_code ignored;
    mSocket.set_option(tcp::no_delay(true), ignored);
    mSocket.non_blocking(true, ignored);
    mSession.connected(linkNowMs());
    waitToRead();
    flush();
}

void AsioDriver::waitToRead()
{
    if (!mayRead()) {
        mReadingPaused = true;
        mSession.setReading(false, linkNowMs());
        return;
    }
    mSocket.async_wait(tcp::socket::wait_read, [self = shared_from_this()](const error_code& error) {
        if (self->mOwner == nullptr) {
            return;
        }
        error ? self->fail(error) : self->receive();
        if (self->mOwner != nullptr) {
            self->waitToRead();
        }
    });
}

void AsioDriver::receive()
{
    std::array<uint8_t, 16384> buffer; // on the stack, so that idle connections hold no buffer
    error_code error;
    const size_t size = mSocket.read_some(boost::asio::buffer(buffer), error);
    if (mRecord && size > 0) {
        mRecord->received(buffer.data(), size);
    }
    if (error) {
        isTemporary(error) ? void() : fail(error);
        return;
    }
    std::span<const uint8_t> bytes(buffer.data(), size);
    LinkSession::Received received;
    while (mSession.read(&bytes, linkNowMs(), &received)) {
        if (received.handler != nullptr) {
            received.handler(&received.message);
        } else {
            mOwner->linkMessage(std::move(received));
        }
    }
    flushOrClose();
}

/// Outside of the owner's calls the connection may be closed at once.
void AsioDriver::flushOrClose()
{
    if (mSession.problem().empty()) {
        flush();
    } else {
        close(std::string(mSession.problem()));
    }
}

void AsioDriver::flush()
{
    error_code error;
    std::span<const uint8_t> bytes;
    while (!mWaitingToWrite && !error && !(bytes = mSession.output(linkNowMs())).empty()) {
        const size_t size = mSocket.write_some(boost::asio::buffer(bytes.data(), bytes.size()), error);
        if (mRecord && size > 0) {
            mRecord->sending(bytes.data(), [size] { return static_cast<ssize_t>(size); });
        }
        mSession.written(size, linkNowMs());
    }
    if (mOwner == nullptr) {
        return;
    }
    if (isTemporary(error)) {
        waitToWrite();
    } else if (error || !mSession.problem().empty()) {
        closeLater(error);
        return;
    }
    armTimer();
}

void AsioDriver::waitToWrite()
{
    mWaitingToWrite = true;
    mSocket.async_wait(tcp::socket::wait_write, [self = shared_from_this()](const error_code& error) {
        self->mWaitingToWrite = false;
        if (self->mOwner == nullptr) {
            return;
        }
        if (error) {
            self->fail(error);
        } else {
            self->flush();
            self->resumeReading();
        }
    });
}

void AsioDriver::resumeReading()
{
    if (mReadingPaused && mOwner != nullptr && mayRead()) {
        mReadingPaused = false;
        mSession.setReading(true, linkNowMs());
        armTimer();
        waitToRead();
    }
}

/// A timer that expires too early does no harm, so that it is not set anew with every message.
void AsioDriver::armTimer()
{
    const int64_t deadline = mSession.deadline();
    if (deadline >= mTimerMs) {
        return;
    }
    mTimerMs = deadline;
    mTimer.expires_at(LinkTimer::time_point(std::chrono::milliseconds(deadline)));
    mTimer.async_wait([self = shared_from_this()](const error_code& error) {
        if (!error && self->mOwner != nullptr) {
            self->checkTimes();
        }
    });
}

void AsioDriver::checkTimes()
{
    mTimerMs = LinkSession::kNever;
    if (!mReadingPaused && mayRead()) {
        receive(); // the loop may be late
    }
    mSession.checkTimes(linkNowMs());
    flushOrClose();
}

/// The peer has closed the connection, or it is broken.
void AsioDriver::fail(const error_code& error)
{
    const bool ended = error == boost::asio::error::eof;
    if (mRecord) {
        ended ? mRecord->peerClosed() : mRecord->peerReset();
    }
    close(ended ? "the peer closed the connection" : error.message());
}

/// Closes from the event loop: the caller may be in the middle of something that the end changes.
void AsioDriver::closeLater(const error_code& error)
{
    boost::asio::post(mSocket.get_executor(), [self = shared_from_this(), error] {
        if (self->mOwner != nullptr) {
            error ? self->fail(error) : self->flushOrClose();
        }
    });
}

void AsioDriver::close(const std::string& reason)
{
    Owner* const owner = std::exchange(mOwner, nullptr);
    if (owner == nullptr) {
        return;
    }
    const std::vector<LinkSession::AnswerHandler> ended = mSession.disconnected();
    abandon();
    owner->linkClosed(reason);
    for (const LinkSession::AnswerHandler& handler : ended) {
        handler(nullptr);
    }
}

void AsioDriver::abandon()
{
    mOwner = nullptr;
    mSession.disconnected();
    mTimer.cancel();
    error_code ignored;
    mSocket.close(ignored);
}

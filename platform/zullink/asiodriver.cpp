#include "zullink/asiodriver.h"

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

} // namespace

AsioDriver::AsioDriver(tcp::socket socket, LinkSession* session, Owner* owner)
    : mOwner(owner),
      mSocket(std::move(socket)),
      mLink(mSocket.native_handle()),
      mSession(session),
      mTimer(mSocket.get_executor())
{}

AsioDriver::AsioDriver(tcp::socket socket, const LinkSession::Settings& settings, LinkNumbers* numbers,
                       std::shared_ptr<cCaptureFile> capture, Owner* owner)
    : mOwner(owner),
      mSocket(std::move(socket)),
      mLink(mSocket.native_handle()),
      mPeer(peerOf(mSocket)),
      mOwnSession(std::make_unique<LinkSession>(settings, numbers)),
      mSession(mOwnSession.get()),
      mTimer(mSocket.get_executor())
{
    mLink.recordTo(std::move(capture), cCapturedLink::ACCEPTED);
}

AsioDriver::~AsioDriver() { disconnect(); }

void AsioDriver::start()
{
    error_code ignored;
    mSocket.set_option(tcp::no_delay(true), ignored);
    mSocket.non_blocking(true, ignored);
    mSession->connected(linkNowMs());
    waitToRead();
    flush();
}

/// The end of an asynchronous operation: calls @p next if the connection is still open.
void AsioDriver::proceed(const error_code& error, void (AsioDriver::*next)())
{
    if (mOwner != nullptr && error != boost::asio::error::operation_aborted) {
        error ? close(error.message()) : (this->*next)();
    }
}

void AsioDriver::waitToRead()
{
    if (mOwner == nullptr) {
        return;
    }
    if (!mayRead()) {
        mReadingPaused = true;
        mSession->setReading(false, linkNowMs());
        return;
    }
    mSocket.async_wait(tcp::socket::wait_read, [self = shared_from_this()](const error_code& error) {
        self->proceed(error, &AsioDriver::receive);
        self->waitToRead();
    });
}

void AsioDriver::receive()
{
    mLink.receive(mSession, linkNowMs(),
                  [this](LinkSession::Received&& received) { mOwner->linkMessage(std::move(received)); });
    flush();
}

void AsioDriver::flush()
{
    if (!mWaitingToWrite && !mLink.flush(mSession, linkNowMs())) {
        mWaitingToWrite = true;
        mSocket.async_wait(tcp::socket::wait_write, [self = shared_from_this()](const error_code& error) {
            self->proceed(error, &AsioDriver::writeOn);
        });
    }
    if (mSession->problem().empty()) {
        armTimer();
    } else {
        // Later, as the caller may be in the middle of something that the end changes.
        boost::asio::post(mSocket.get_executor(), [self = shared_from_this()] {
            if (self->mOwner != nullptr) {
                self->close(self->mSession->problem());
            }
        });
    }
    if (mOwner != nullptr) {
        mOwner->linkFlushed();
    }
}

void AsioDriver::finish()
{
    if (mSession->finish(linkNowMs())) {
        mLink.endWriting();
    }
    flush();
}

void AsioDriver::writeOn()
{
    mWaitingToWrite = false;
    flush();
    resumeReading();
}

void AsioDriver::resumeReading()
{
    if (mReadingPaused && mayRead()) {
        mReadingPaused = false;
        mSession->setReading(true, linkNowMs());
        armTimer();
        waitToRead();
    }
}

/// A timer that expires too early does no harm, so that it is not set anew with every message.
void AsioDriver::armTimer()
{
    const int64_t deadline = mSession->deadline();
    if (deadline < mTimerMs) {
        mTimerMs = deadline;
        mTimer.expires_at(LinkTimer::time_point(std::chrono::milliseconds(deadline)));
        mTimer.async_wait([self = shared_from_this()](const error_code& error) {
            self->proceed(error, &AsioDriver::checkTimes);
        });
    }
}

void AsioDriver::checkTimes()
{
    mTimerMs = LinkSession::kNever;
    if (!mReadingPaused && mayRead()) {
        receive(); // the loop may be late
    }
    mSession->checkTimes(linkNowMs());
    flush();
}

void AsioDriver::close(const std::string& reason)
{
    Owner* const owner = std::exchange(mOwner, nullptr);
    if (owner == nullptr) {
        return;
    }
    const std::vector<LinkSession::AnswerHandler> ended = mSession->disconnected();
    abandon();
    owner->linkClosed(reason);
    for (const LinkSession::AnswerHandler& handler : ended) {
        handler(nullptr);
    }
}

void AsioDriver::abandon()
{
    mOwner = nullptr;
    mTimer.cancel();
    disconnect();
}

void AsioDriver::disconnect()
{
    if (!std::exchange(mOpen, false)) {
        return; // a borrowed session may be another connection's by now
    }
    mSession->disconnected();
    mLink.shutDown();
    // It is closed by mLink.
    error_code ignored;
    mSocket.release(ignored);
}

#include "capture/play/liveconnection.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>

namespace capture {

using boost::asio::ip::tcp;
using boost::system::error_code;

void LiveConnection::start()
{
    error_code ignored;
    mSocket.set_option(tcp::no_delay(true), ignored);
    mSocket.non_blocking(true, ignored);
    read();
}

void LiveConnection::read()
{
    mSocket.async_read_some(boost::asio::buffer(mBuffer),
                            [self = shared_from_this()](const error_code& error, size_t size) {
                                if (self->mIsOver) {
                                    return;
                                }
                                self->take(std::span(self->mBuffer).first(size));
                                if (!error) {
                                    self->read();
                                } else if (error == boost::asio::error::eof) {
                                    self->mHasEnded = true;
                                } else {
                                    self->close();
                                }
                            });
}

void LiveConnection::take(std::span<const uint8_t> bytes)
{
    for (WMsg message; mFinder.next(&bytes, &message); message = WMsg()) {
        if (message.control && !message.answer && mUnsent.size() < kMaxUnsent) {
            WMsg answer = WMsg::ping(true);
            answer.seq = message.seq;
            std::vector<uint8_t> frame;
            answer.appendFrames(frame);
            send(frame);
        }
        onMessage(std::move(message));
    }
    if (const uint64_t damaged = mFinder.takeDamaged(); damaged > 0) {
        onDamaged(damaged);
    }
}

void LiveConnection::send(std::span<const uint8_t> bytes)
{
    if (!mIsOver) {
        mUnsent.insert(mUnsent.end(), bytes.begin(), bytes.end());
        write();
    }
}

void LiveConnection::write()
{
    while (!mIsWriting && !mUnsent.empty() && !mIsOver) {
        error_code error;
        const size_t size = mSocket.write_some(boost::asio::buffer(mUnsent), error);
        mUnsent.erase(mUnsent.begin(), mUnsent.begin() + static_cast<std::ptrdiff_t>(size));
        if (error == boost::asio::error::would_block) {
            mIsWriting = true;
            mSocket.async_wait(Socket::wait_write, [self = shared_from_this()](const error_code&) {
                self->mIsWriting = false;
                self->write();
            });
        } else if (error && error != boost::asio::error::interrupted) {
            close();
        }
    }
}

void LiveConnection::endSending()
{
    error_code ignored;
    mSocket.shutdown(Socket::shutdown_send, ignored);
}

void LiveConnection::close()
{
    mIsOver = true;
    error_code ignored;
    mSocket.close(ignored);
}

void LiveConnection::reset()
{
    error_code ignored;
    mSocket.set_option(boost::asio::socket_base::linger(true, 0), ignored);
    close();
}

} // namespace capture

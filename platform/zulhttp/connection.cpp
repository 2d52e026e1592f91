#include "zulhttp/connection.h"

#include <boost/asio/buffer.hpp>
#include <utility>

namespace zulhttp {

namespace {

using eState = Conversation::eState;

/// Closing at once, with bytes of the client unread, could take the answer from it.
constexpr std::chrono::milliseconds kLinger(1000);

} // namespace

Connection::Connection(boost::asio::ip::tcp::socket socket, Site& site, std::chrono::milliseconds patience)
    : mSocket(std::move(socket)),
      mTimer(mSocket.get_executor()),
      mPatience(patience),
      mConversation(std::make_shared<Conversation>(site))
{}

void Connection::start()
{
    boost::system::error_code ignored;
    mSocket.set_option(boost::asio::ip::tcp::no_delay(true), ignored);
    mConversation->onChange = [weak = weak_from_this()] {
        if (const std::shared_ptr<Connection> self = weak.lock()) {
            self->proceed();
        }
    };
    armTimer(mPatience);
    proceed();
}

void Connection::refuse(const Response& response)
{
    mConversation->refuse(response);
    start();
}

void Connection::abandon()
{
    onClosed = [] {};
    close();
}

/// Does what the conversation needs next.
void Connection::proceed()
{
    if (mClosed) {
        return;
    }
    const eState state = mConversation->state();
    if (std::exchange(mTimedState, state) != state) {
        armTimer(mPatience);
    }
    if (mWriting && state == eState::OVER) {
        return close(); // a stream that its client does not read
    }
    if (!mWriting && !mConversation->output().empty()) {
        write();
    } else if (state == eState::OVER && !std::exchange(mLingering, true)) {
        boost::system::error_code ignored;
        mSocket.shutdown(boost::asio::socket_base::shutdown_send, ignored);
        armTimer(kLinger);
    }
    if (!mReading && state != eState::ANSWERING) {
        read();
    }
}

void Connection::read()
{
    mReading = true;
    mSocket.async_read_some(boost::asio::buffer(mBuffer),
                            [self = shared_from_this()](const auto& error, size_t size) {
                                self->mReading = false;
                                if (error) {
                                    return self->close();
                                }
                                self->mConversation->receive({self->mBuffer.data(), size});
                                self->proceed();
                            });
}

void Connection::write()
{
    mWriting = true;
    std::vector<boost::asio::const_buffer> buffers;
    for (const std::string_view piece : mConversation->output()) {
        buffers.emplace_back(piece.data(), piece.size());
    }
    mSocket.async_write_some(buffers, [self = shared_from_this()](const auto& error, size_t size) {
        self->mWriting = false;
        if (error || self->mClosed) {
            return self->close();
        }
        self->mConversation->written(size);
        self->armTimer(self->mPatience);
        self->proceed();
    });
}

void Connection::armTimer(std::chrono::milliseconds time)
{
    mTimer.expires_after(time);
    mTimer.async_wait([weak = weak_from_this()](const boost::system::error_code& error) {
        if (const std::shared_ptr<Connection> self = weak.lock(); self && !error) {
            self->timeUp();
        }
    });
}

void Connection::timeUp()
{
    if (mWriting || mLingering) {
        return close();
    }
    mConversation->state() == eState::READING ? mConversation->timeUp() : mConversation->keepStream();
    armTimer(mPatience);
    proceed();
}

void Connection::close()
{
    if (std::exchange(mClosed, true)) {
        return;
    }
    mConversation->close();
    mTimer.cancel();
    boost::system::error_code ignored;
    mSocket.close(ignored);
    std::exchange(onClosed, [] {})();
}

} // namespace zulhttp

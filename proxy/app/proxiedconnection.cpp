#include "proxy/app/proxiedconnection.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <sstream>
#include <sys/socket.h>
#include <system_error>
#include <utility>

#include "proxy/app/capturecomment.h"
#include "proxy/app/clock.h"

using boost::asio::ip::tcp;
using boost::system::error_code;

namespace proxy {

namespace {

/// The longest wait for a connection to one address of the server.
constexpr auto kConnectTime = std::chrono::seconds(10);

/// How long a side may still send after the end was sent to it; what it sends is dropped.
constexpr auto kDrainTime = std::chrono::seconds(5);

boost::asio::steady_timer::time_point timeOf(int64_t ns)
{
    return boost::asio::steady_timer::time_point(std::chrono::nanoseconds(ns));
}

std::string peerOf(const tcp::socket& socket)
{
    error_code error;
    std::ostringstream text;
    text << socket.remote_endpoint(error);
    return text.str();
}

/// A reset drops what the peer has not read.
void closeSocket(tcp::socket* socket, bool withReset)
{
    error_code ignored;
    if (withReset) {
        socket->set_option(boost::asio::socket_base::linger(true, 0), ignored);
    }
    socket->close(ignored);
}

} // namespace

ProxiedConnection::ProxiedConnection(Socket device, std::shared_ptr<Shared> shared, uint64_t number,
                                     Owner* owner)
    : mShared(std::move(shared)),
      mOwner(owner),
      mNumber(number),
      mPeer(peerOf(device)),
      mFaults(mShared->faults, number, this),
      mDevice(std::move(device)),
      mServer(Socket(mDevice.socket.get_executor())),
      mTimer(mDevice.socket.get_executor())
{}

ProxiedConnection::~ProxiedConnection() = default;

/// A handler that calls @p handler unless the operation was given up or the connection is closed.
template <class Handler>
auto ProxiedConnection::whileOpen(Handler handler)
{
    return [self = shared_from_this(), handler](const error_code& error) {
        if (self->mOwner != nullptr && error != boost::asio::error::operation_aborted) {
            handler(*self, error);
        }
    };
}

void ProxiedConnection::start()
{
    error_code ignored;
    mDevice.socket.set_option(tcp::no_delay(true), ignored);
    mDevice.socket.non_blocking(true, ignored);
    mFaults.begin(nowNs());
    record(&mDevice, true);
    accept();
}

void ProxiedConnection::record(Side* side, bool accepted)
{
    std::vector<std::string> comments = std::exchange(mFirstComments, {});
    comments.insert(comments.begin(), "connection " + std::to_string(mNumber));
    side->record = cCapturedLink::of(mShared->capture, side->socket.native_handle(),
                                     accepted ? cCapturedLink::ACCEPTED : cCapturedLink::CONNECTED,
                                     {accepted ? 0U : 1U, std::move(comments)});
}

/// Does with the device what the rules say, before the server is asked.
void ProxiedConnection::accept()
{
    switch (mFaults.acceptance()) {
    case FaultyConnection::eAcceptance::REFUSE:
        return close(eClosing::RESET, "refused");
    case FaultyConnection::eAcceptance::WAIT:
        return armTimer();
    case FaultyConnection::eAcceptance::CONNECT:
        if (!std::exchange(mConnecting, true)) {
            connect(0);
        }
    }
}

void ProxiedConnection::connect(size_t address)
{
    error_code failed;
    mServer.socket.close(failed);
    mServer.socket.open(mShared->servers[address].protocol(), failed);
    if (failed) {
        return giveUp(failed);
    }
    mTimer.expires_after(kConnectTime);
    mTimer.async_wait(whileOpen([](ProxiedConnection& self, const error_code&) {
        if (!self.mReached) {
            error_code ignored;
            self.mServer.socket.cancel(ignored);
        }
    }));
    const auto connected = [self = shared_from_this(), address](const error_code& error) {
        if (self->mOwner == nullptr) {
            return;
        }
        if (!error) {
            self->serverReached();
        } else if (address + 1 < self->mShared->servers.size()) {
            self->connect(address + 1);
        } else {
            const bool late = error == boost::asio::error::operation_aborted;
            self->giveUp(late ? make_error_code(boost::asio::error::timed_out) : error);
        }
    };
    mServer.socket.async_connect(mShared->servers[address], connected);
}

void ProxiedConnection::giveUp(const error_code& error)
{
    mOwner->notReached(error.message());
    close(eClosing::RESET, "the server cannot be reached");
}

void ProxiedConnection::serverReached()
{
    error_code ignored;
    mTimer.cancel();
    mTimerNs = FaultyConnection::kNever;
    mServer.socket.set_option(tcp::no_delay(true), ignored);
    mServer.socket.non_blocking(true, ignored);
    mServerName = peerOf(mServer.socket);
    mReached = true;
    record(&mServer, false);
    mOwner->reached(*this);
    mFaults.reached(nowNs());
    proceed();
}

void ProxiedConnection::rulesChanged()
{
    if (mOwner == nullptr) {
        return;
    }
    mFaults.advance(nowNs());
    mReached ? proceed() : accept();
}

void ProxiedConnection::command(eFault kind)
{
    if (mOwner == nullptr) {
        return;
    }
    mFaults.command(kind, nowNs());
    proceed();
}

void ProxiedConnection::resumeReading()
{
    if (mReached && mOwner != nullptr) {
        std::ranges::for_each(kDirections, [this](eDirection direction) { waitToRead(direction); });
    }
}

void ProxiedConnection::faultDone(const Fault& fault)
{
    if (mShared->capture) {
        const std::string comment = commentOf(fault);
        const bool both = fault.kind == eFault::CUT || fault.kind == eFault::RESET;
        if (!mDevice.record) {
            mFirstComments.push_back(comment);
        } else if (both || fault.direction.value_or(eDirection::TO_SERVER) == eDirection::TO_SERVER) {
            mDevice.record->comment(comment);
        }
        if (mServer.record && (both || fault.direction == eDirection::TO_DEVICE)) {
            mServer.record->comment(comment);
        }
    }
    if (mOwner != nullptr) {
        mOwner->faultDone(fault);
    }
}

void ProxiedConnection::foreignBytes(eDirection direction)
{
    if (mOwner != nullptr) {
        mOwner->foreignBytes(*this, direction);
    }
}

/// Does all that can be done now, after anything has happened.
void ProxiedConnection::proceed()
{
    for (const eDirection direction : kDirections) {
        if (mOwner != nullptr && mFaults.end() != FaultyConnection::eEnd::RESET) {
            write(direction);
        }
    }
    if (mOwner == nullptr) {
        return;
    }
    const auto isWritten = [this](eDirection direction) { return mFaults.output(direction).empty(); };
    if (mFaults.end() == FaultyConnection::eEnd::RESET) {
        return close(eClosing::RESET, "reset by a rule or a command");
    }
    const bool bothEnded = mDevice.ended && mServer.ended;
    if (mFaults.end() == FaultyConnection::eEnd::CUT && std::ranges::all_of(kDirections, isWritten)) {
        return close(eClosing::END, bothEnded ? "both sides have ended" : "cut by a rule or a command");
    }
    std::ranges::for_each(kDirections, [this](eDirection direction) { tellEnd(direction); });
    if (bothEnded && mDevice.told && mServer.told) {
        return close(eClosing::END, "both sides have ended");
    }
    std::ranges::for_each(kDirections, [this](eDirection direction) { waitToRead(direction); });
    armTimer();
}

void ProxiedConnection::write(eDirection direction)
{
    Side& side = to(direction);
    while (!side.writing) {
        const std::span<const uint8_t> piece = mFaults.output(direction);
        if (piece.empty()) {
            break;
        }
        // A message that was read in two parts then travels with those behind it.
        const int more = mFaults.outputContinues(direction) ? MSG_MORE : 0;
        const auto send = [&] {
            return ::send(side.socket.native_handle(), piece.data(), piece.size(),
                          MSG_DONTWAIT | MSG_NOSIGNAL | more);
        };
        const ssize_t size = side.record ? side.record->sending(piece.data(), send) : send();
        if (size > 0) {
            mFaults.written(direction, static_cast<size_t>(size), nowNs());
        } else if (size < 0 && errno == EAGAIN) {
            side.writing = true;
            side.socket.async_wait(Socket::wait_write,
                                   whileOpen([direction](ProxiedConnection& self, const error_code&) {
                                       self.to(direction).writing = false;
                                       self.proceed();
                                   }));
        } else if (size == 0 || errno != EINTR) {
            return readFailed(
                direction == eDirection::TO_SERVER ? eDirection::TO_DEVICE : eDirection::TO_SERVER, errno);
        }
    }
    mFaults.keepOutput(direction);
}

/// Tells the receiver of @p direction that nothing more comes, when it is time.
void ProxiedConnection::tellEnd(eDirection direction)
{
    Side& side = to(direction);
    if (mFaults.outputEnded(direction) && !std::exchange(side.told, true)) {
        error_code ignored;
        side.socket.shutdown(Socket::shutdown_send, ignored);
        if (side.record) {
            side.record->sendingEnded();
        }
    }
}

void ProxiedConnection::waitToRead(eDirection direction)
{
    Side& side = from(direction);
    if (side.reading || side.ended || !mFaults.wantsMore(direction) || mOwner->readingPaused()) {
        return;
    }
    side.reading = true;
    side.socket.async_wait(Socket::wait_read,
                           whileOpen([direction](ProxiedConnection& self, const error_code&) {
                               self.from(direction).reading = false;
                               self.readNow(direction);
                           }));
}

void ProxiedConnection::readNow(eDirection direction)
{
    Side& side = from(direction);
    // A rule may have come since.
    if (mFaults.wantsMore(direction)) {
        // The capture records each read as one packet.
        const size_t limit = side.record ? kMaxTcpPayload : mShared->buffer.size();
        const ssize_t size = ::recv(side.socket.native_handle(), mShared->buffer.data(),
                                    std::min(limit, mShared->buffer.size()), MSG_DONTWAIT);
        if (size > 0) {
            const std::span bytes(mShared->buffer.data(), static_cast<size_t>(size));
            mFaults.received(direction, bytes, nowNs());
            if (side.record) {
                side.record->received(bytes);
            }
        } else if (size == 0) {
            side.ended = true;
            mFaults.ended(direction, nowNs());
            if (side.record) {
                side.record->peerClosed();
            }
        } else if (errno != EAGAIN && errno != EINTR) {
            return readFailed(direction, errno);
        }
    }
    proceed();
}

/// The sender of @p direction has broken the connection: the other side learns that.
void ProxiedConnection::readFailed(eDirection direction, int error)
{
    Side& side = from(direction);
    if (side.record) {
        side.record->peerReset();
    }
    const std::string who = direction == eDirection::TO_SERVER ? "the device" : "the server";
    const bool isReset = error == ECONNRESET || error == EPIPE;
    close(eClosing::RESET,
          who + (isReset ? " has reset the connection" : ": " + std::generic_category().message(error)));
}

/// A timer that expires too early does no harm, so that it is not set anew with every message.
void ProxiedConnection::armTimer()
{
    const int64_t deadline = mFaults.deadline();
    if (deadline >= mTimerNs) {
        return;
    }
    mTimerNs = deadline;
    mTimer.expires_at(timeOf(deadline));
    mTimer.async_wait(whileOpen([](ProxiedConnection& self, const error_code&) {
        self.mTimerNs = FaultyConnection::kNever;
        self.rulesChanged();
    }));
}

void ProxiedConnection::close(eClosing how, const std::string& reason)
{
    Owner* const owner = std::exchange(mOwner, nullptr);
    const auto self = shared_from_this(); // the owner lets go
    mTimer.cancel();
    for (Side* side : {&mDevice, &mServer}) {
        if (side->record) {
            how == eClosing::RESET ? side->record->reset() : side->record->closed();
        }
        if (how == eClosing::RESET) {
            closeSocket(&side->socket, true);
        } else {
            error_code ignored;
            side->socket.cancel(ignored);
            side->socket.shutdown(Socket::shutdown_send, ignored);
            drain(self, side);
        }
    }
    if (how == eClosing::END) {
        mTimer.expires_after(kDrainTime);
        mTimer.async_wait([self](const error_code&) {
            closeSocket(&self->mDevice.socket, false);
            closeSocket(&self->mServer.socket, false);
        });
    }
    owner->closed(*this, reason);
}

/// A socket that is closed while something is unread sends a reset, which would follow the end: reads on
/// until the peer has ended too.
void ProxiedConnection::drain(const std::shared_ptr<ProxiedConnection>& self, Side* side)
{
    const std::span<uint8_t> buffer(self->mShared->buffer);
    const ssize_t size = ::recv(side->socket.native_handle(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (size == 0 || (size < 0 && errno != EAGAIN && errno != EINTR)) {
        closeSocket(&side->socket, false);
        if (!self->mDevice.socket.is_open() && !self->mServer.socket.is_open()) {
            self->mTimer.cancel();
        }
        return;
    }
    side->socket.async_wait(Socket::wait_read, [self, side](const error_code& error) {
        if (!error) {
            drain(self, side);
        }
    });
}

void ProxiedConnection::abandon()
{
    if (std::exchange(mOwner, nullptr) == nullptr) {
        return;
    }
    mTimer.cancel();
    for (Side* side : {&mDevice, &mServer}) {
        if (side->record) {
            side->record->closed();
        }
        closeSocket(&side->socket, false);
    }
}

} // namespace proxy

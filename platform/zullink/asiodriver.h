#pragma once

#include <boost/asio/basic_waitable_timer.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <cstdint>
#include <memory>
#include <string>

#include "zullink/linkclock.h"
#include "zullink/linksession.h"
#include "zullink/linksocket.h"

/// A timer by the link's clock.
using LinkTimer = boost::asio::basic_waitable_timer<cLinkClock>;

/// Runs a LinkSession over a connected TCP socket in an event loop of Boost.Asio.
///
/// Everything happens on the thread of the loop. Pending operations keep the driver alive.
class AsioDriver : public std::enable_shared_from_this<AsioDriver>
{
public:
    class Owner
    {
    public:
        virtual ~Owner() = default;

        /// A message that is not the awaited answer to a request, in the order of arrival.
        virtual void linkMessage(LinkSession::Received&& received) = 0;

        /// Called once, with the reason in a few words, never from inside flush(). The handlers of
        /// outstanding requests are called with null afterwards.
        virtual void linkClosed(const std::string& reason) = 0;

        /// True while nothing more should be read; resumeReading() ends that.
        virtual bool readingPaused() const = 0;

        /// Called after bytes may have been written.
        virtual void linkFlushed() {}
    };

    /// The end that connects. @p session, borrowed, lives on after the connection. @p owner outlives the
    /// driver unless it calls abandon().
    AsioDriver(boost::asio::ip::tcp::socket socket, LinkSession* session, Owner* owner);

    /// The end that accepts, with a session that ends with the connection. @p numbers outlives the driver,
    /// and @p owner too unless it calls abandon(). Records what crosses the connection in @p capture, which
    /// may be null.
    AsioDriver(boost::asio::ip::tcp::socket socket, const LinkSession::Settings& settings,
               LinkNumbers* numbers, std::shared_ptr<cCaptureFile> capture, Owner* owner);
    ~AsioDriver();
    AsioDriver(const AsioDriver&) = delete;
    AsioDriver& operator=(const AsioDriver&) = delete;

    void start();

    /// After a call that sends, call flush().
    LinkSession& session() { return *mSession; }

    /// Writes what the session has to write, as far as the system takes it; the rest follows.
    void flush();

    /// Ends the connection when the peer has read everything; call it again until it is closed.
    void finish();

    void resumeReading();

    /// Closes the connection and tells the owner why.
    void close(const std::string& reason);

    /// Closes the connection and forgets the owner and the handlers of requests.
    void abandon();

    /// "ADDRESS:PORT", an IPv6 address in brackets; empty at the end that connects.
    const std::string& peer() const { return mPeer; }

private:
    void disconnect();
    bool mayRead() const
    {
        return mOwner != nullptr && !mOwner->readingPaused() && !mSession->backlogExceeded();
    }
    void proceed(const boost::system::error_code& error, void (AsioDriver::*next)());
    void waitToRead();
    void receive();
    void writeOn();
    void armTimer();
    void checkTimes();

    Owner* mOwner;                        ///< null once the connection is closed
    boost::asio::ip::tcp::socket mSocket; ///< waits for mLink, which owns the descriptor
    cLinkSocket mLink;
    const std::string mPeer;
    std::unique_ptr<LinkSession> mOwnSession; ///< null if the session is borrowed
    LinkSession* const mSession;
    LinkTimer mTimer;
    int64_t mTimerMs = LinkSession::kNever; ///< when mTimer expires
    bool mOpen = true;
    bool mReadingPaused = false;
    bool mWaitingToWrite = false;
};

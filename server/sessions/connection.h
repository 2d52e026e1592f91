#ifndef SERVER_CONNECTION_H
#define SERVER_CONNECTION_H

#include <boost/asio/ip/tcp.hpp>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "server/io/linktimer.h"
#include "server/sessions/linksettings.h"
#include "wcapture/capturedlink.h"
#include "wmsg/wmsg.h"
#include "wmsg/wmsgreader.h"

namespace server {

/// Carries messages over one TCP connection.
///
/// It answers pings, pings an idle peer and closes the connection of one that is silent, sends broken
/// bytes or does not read.
class Connection : public std::enable_shared_from_this<Connection>
{
public:
    class Owner
    {
    public:
        virtual ~Owner() = default;

        /// A message that is not a ping, in the order of arrival.
        virtual void connectionMessage(WMsg&& message) = 0;

        /// Called once, with the reason in a few words, never from inside send().
        virtual void connectionClosed(const std::string& reason) = 0;

        /// True while nothing more should be read; resumeReading() ends that.
        virtual bool readingHeld() const = 0;
    };

    /// @p owner outlives the connection or calls abandon().
    Connection(boost::asio::ip::tcp::socket socket, const LinkSettings& settings, Owner* owner);

    void start();
    void send(const WMsg& message);
    void resumeReading();

    /// Closes the connection and tells the owner why.
    void close(const std::string& reason);

    /// Closes the connection and forgets the owner.
    void abandon();

    /// "ADDRESS:PORT", an IPv6 address in brackets.
    const std::string& peer() const { return mPeer; }

private:
    void read();
    void readSome(boost::system::error_code error);
    void received(const uint8_t* bytes, size_t size, const boost::system::error_code& error);
    bool handleBytes(const uint8_t* data, size_t size);
    bool handleMessage(WMsg&& message);
    void writeMore();
    void writeSome();
    void written(const boost::system::error_code& error, size_t size);
    void recordEnd(const boost::system::error_code& error);
    void armTimer();
    void checkTimes();
    std::string lateReason(int64_t nowMs) const;

    const LinkSettings mSettings;
    Owner* mOwner;
    boost::asio::ip::tcp::socket mSocket;
    const std::unique_ptr<cCapturedLink> mRecord; ///< null where nothing is recorded
    LinkTimer mTimer;
    std::string mPeer;
    bool mClosed = false;

    WMsgReader mReader;
    bool mHeld = false;
    int64_t mHeldSinceMs = 0; ///< while mHeld
    int64_t mHeldMs = 0;      ///< how long reading was held before: the reader's clock stood still
    int64_t mHeardMs = 0;
    bool mPinged = false;

    std::vector<uint8_t> mWriting; ///< whole messages, on their way
    size_t mWritten = 0;           ///< of mWriting
    std::vector<uint8_t> mWaiting; ///< whole messages, to follow mWriting
    uint64_t mPingsUnanswered = 0; ///< answered as far as the peer reads; a number needs no room
    bool mBusy = false;            ///< a write is under way
    int64_t mProgressMs = 0;       ///< when it began
};

} // namespace server

#endif

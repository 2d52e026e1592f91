#ifndef SERVER_DEVICESESSION_H
#define SERVER_DEVICESESSION_H

#include <deque>
#include <memory>
#include <optional>
#include <string>

#include "server/io/linktimer.h"
#include "server/sessions/connection.h"
#include "server/sessions/pendingrequests.h"
#include "zulobj/device.h"

namespace server {

/// Talks to one device, from its connection to its end.
///
/// The device is asked for its record at once; what it sends before it has answered is held back until
/// then.
class DeviceSession : public std::enable_shared_from_this<DeviceSession>, private Connection::Owner
{
public:
    class Listener
    {
    public:
        virtual ~Listener() = default;

        /// The device has said who it is.
        virtual void sessionIdentified(DeviceSession& session) = 0;

        /// A message that is not an answer; never before sessionIdentified().
        virtual void sessionMessage(DeviceSession& session, WMsg&& message) = 0;

        /// Called once, the last call for this session.
        virtual void sessionClosed(DeviceSession& session, const std::string& reason) = 0;

        virtual bool readingHeld() const = 0;
        virtual void sessionReport(const DeviceSession& session, const std::string& sentence) = 0;
        virtual void sessionDebug(const DeviceSession& session, const std::string& sentence) = 0;
    };

    /// @p listener outlives the session, and so does @p lastNumber, the number of the message sent last over
    /// any connection.
    DeviceSession(boost::asio::ip::tcp::socket socket, const LinkSettings& settings, Listener* listener,
                  uint8_t* lastNumber);
    ~DeviceSession() override;

    void start();

    /// Sends @p message, whose answer goes to @p handler. Returns its sequence number; none, and nothing is
    /// sent, while the device leaves too many requests unanswered.
    std::optional<uint8_t> request(WMsg message, PendingRequests::Handler handler);

    /// Stops waiting for the answer to @p seq.
    void giveUp(uint8_t seq) { mRequests.giveUp(seq); }

    /// Sends @p message; should the device answer, the answer is dropped. False, and nothing is sent, while
    /// the device leaves too many requests unanswered.
    bool send(WMsg message);

    /// Closes the connection, which is told like any other end.
    void drop() { mConnection->close("it was dropped by a command"); }

    void resumeReading() { mConnection->resumeReading(); }

    const std::string& peer() const { return mConnection->peer(); }

    /// What the device said of itself, or null before it did.
    const cObjectDevice* device() const { return mDevice ? &*mDevice : nullptr; }

private:
    void connectionMessage(WMsg&& message) override;
    void connectionClosed(const std::string& reason) override;
    bool readingHeld() const override { return mListener->readingHeld(); }

    void askForDevice();
    void takeDevice(const WMsg& answer);
    void askAgain();
    void hold(WMsg&& message);

    const LinkSettings mSettings;
    Listener* mListener;
    LinkTimer mAskTimer;
    LinkTimer mIdentifyTimer;
    std::shared_ptr<Connection> mConnection;
    PendingRequests mRequests;
    int mAsked = 0;
    std::optional<cObjectDevice> mDevice;
    std::deque<WMsg> mHeld;
    size_t mHeldBytes = 0;
    bool mClosed = false;
};

} // namespace server

#endif

#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "server/sessions/sessioncounts.h"
#include "wcapture/capturefile.h"
#include "zullink/asiodriver.h"
#include "zulobj/device.h"

namespace server {

/// Times in milliseconds and limits in bytes of the connection to a device, and its recording.
struct LinkSettings
{
    /// Nothing outlives a connection.
    LinkSession::Settings link{sLinkLimits(), false};

    int askAgainMs = 1000; ///< the pause after an answer without a device record
    int askAttempts = 5;
    int identifyMs = 30000;              ///< the device must have sent its record by then
    size_t heldBytes = 16 * 1024 * 1024; ///< messages that wait for the device record
    size_t heldMessageOverhead = 128;    ///< added to the payload of each

    std::shared_ptr<cCaptureFile> capture; ///< null if nothing is recorded
    std::shared_ptr<SessionCounts> counts; ///< null if nothing is counted
};

/// Talks to one device, from its connection to its end.
///
/// It asks the device for its record at once, and holds back what the device sends before it has answered.
class DeviceSession : public std::enable_shared_from_this<DeviceSession>, private AsioDriver::Owner
{
public:
    class Listener
    {
    public:
        virtual ~Listener() = default;

        /// The device has said who it is.
        virtual void sessionIdentified(DeviceSession& session) = 0;

        /// A message that is not an answer, after sessionIdentified().
        virtual void sessionMessage(DeviceSession& session, WMsg&& message) = 0;

        /// Called once, the last call for this session.
        virtual void sessionClosed(DeviceSession& session, const std::string& reason) = 0;

        virtual bool readingPaused() const = 0;
        virtual void sessionReport(const DeviceSession& session, const std::string& sentence) = 0;
        virtual void sessionDebug(const DeviceSession& session, const std::string& sentence) = 0;
    };

    /// @p settings, @p listener and @p numbers outlive the session. @p number counts the sessions.
    DeviceSession(boost::asio::ip::tcp::socket socket, const LinkSettings& settings, Listener* listener,
                  LinkNumbers* numbers, uint64_t number);
    ~DeviceSession() override;

    void start();

    /// Who wants the answer to a request.
    enum class eOrigin
    {
        COMMAND,
        SERVER
    };

    /// Sends @p message, whose answer goes to @p handler. Returns a number for giveUp(), or 0 if the device
    /// leaves too many requests unanswered: then nothing is sent.
    uint64_t request(WMsg message, LinkSession::AnswerHandler handler, eOrigin origin = eOrigin::COMMAND);

    /// Stops waiting for the answer to @p request.
    void giveUp(uint64_t request) { mDriver->session().giveUp(request); }

    /// Sends @p message and drops its answer. False, and nothing is sent, if the device leaves too many
    /// requests unanswered.
    bool send(WMsg message);

    /// Closes the connection; the listener is told.
    void drop() { mDriver->close("it was dropped by a command"); }

    void resumeReading() { mDriver->resumeReading(); }

    const std::string& peer() const { return mDriver->peer(); }

    /// Rises in the order of connecting.
    uint64_t number() const { return mNumber; }

    /// The record of the device, once it has sent it.
    const std::optional<cObjectDevice>& device() const { return mDevice; }

private:
    void linkMessage(LinkSession::Received&& received) override;
    void linkClosed(const std::string& reason) override;
    bool readingPaused() const override { return mListener->readingPaused(); }

    void after(LinkTimer* timer, int ms, void (DeviceSession::*then)());
    LinkSession::AnswerHandler counted(LinkSession::AnswerHandler handler, eOrigin origin) const;
    void askForDevice();
    void takeDevice(const WMsg& answer);
    void identified(const cObjectDevice& device);
    void closeAsUnknown() { mDriver->close("it does not say which device it is"); }
    void hold(WMsg&& message);

    const LinkSettings& mSettings;
    Listener* mListener;
    const uint64_t mNumber;
    LinkTimer mAskTimer;
    LinkTimer mIdentifyTimer;
    std::shared_ptr<AsioDriver> mDriver;
    int mAsked = 0;
    std::optional<cObjectDevice> mDevice;
    std::vector<WMsg> mHeld;
    size_t mHeldBytes = 0;
    bool mClosed = false;
};

} // namespace server

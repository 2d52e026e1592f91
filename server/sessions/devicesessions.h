#pragma once

#include <boost/asio/io_context.hpp>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "server/io/console.h"
#include "server/sessions/devicesession.h"
#include "zulcommand/messagelog.h"

namespace server {

/// Knows every connected device and prints what happens to it.
class DeviceSessions : private DeviceSession::Listener
{
public:
    using SessionPtr = std::shared_ptr<DeviceSession>;

    static constexpr size_t kMaxEnded = 10000;

    /// Everything is borrowed.
    DeviceSessions(boost::asio::io_context& io, Console& console, const LinkSettings& settings)
        : mIo(io), mConsole(console), mSettings(settings)
    {}

    /// Called after a device has come, a message was printed or a connection has ended.
    std::function<void()> onChange;

    /// Records the connections that are added from now on.
    void setCapture(std::shared_ptr<cCaptureFile> capture) { mSettings.capture = std::move(capture); }

    /// Takes over the socket of a new client.
    void add(boost::asio::ip::tcp::socket socket);

    /// The devices that have said who they are, those with @p serial if one is given, in the order of
    /// connecting.
    std::vector<SessionPtr> matching(std::optional<uint32_t> serial) const;

    /// The device of a connection, or nothing if it did not say who it is.
    using Ended = std::optional<cObjectDevice>;

    /// Takes the connection that ended first, of those to a device with @p serial if one is given. Nothing if
    /// there is none.
    std::optional<Ended> takeEnded(std::optional<uint32_t> serial);

    /// What the devices have sent and no command has taken.
    zulcommand::MessageLog& log() { return mLog; }

    /// Removes the messages that were kept and the connections that have ended.
    void forget();

    /// Resumes reading from every device after the output was congested.
    void resumeReading();

private:
    void sessionIdentified(DeviceSession& session) override;
    void sessionMessage(DeviceSession& session, WMsg&& message) override;
    void sessionClosed(DeviceSession& session, const std::string& reason) override;
    bool readingPaused() const override { return mConsole.output().congested(); }
    void sessionReport(const DeviceSession& session, const std::string& sentence) override
    {
        mConsole.report(session.peer() + ": " + sentence);
    }
    void sessionDebug(const DeviceSession& session, const std::string& sentence) override
    {
        mConsole.debug(session.peer() + ": " + sentence);
    }

    boost::asio::io_context& mIo;
    Console& mConsole;
    zulcommand::MessageLog mLog;
    LinkSettings mSettings;
    LinkNumbers mNumbers;              ///< of messages to all devices
    std::vector<SessionPtr> mSessions; ///< in the order of connecting
    std::deque<Ended> mEnded;          ///< the latest kMaxEnded that no command took
};

} // namespace server

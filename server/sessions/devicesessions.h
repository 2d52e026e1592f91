#pragma once

#include <boost/asio/io_context.hpp>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "server/sessions/deviceindex.h"
#include "server/sessions/devicesession.h"
#include "server/sessions/ratepersecond.h"
#include "zulcommand/messagelog.h"
#include "zulconsole/console.h"

namespace server {

/// Knows every connected device and prints what happens to it.
class DeviceSessions : private DeviceSession::Listener
{
public:
    using SessionPtr = std::shared_ptr<DeviceSession>;
    using Filter = zulcommand::MessageLog::Filter;

    static constexpr size_t kMaxEnded = 10000;

    /// Everything is borrowed.
    DeviceSessions(boost::asio::io_context& io, zulconsole::Console& console, const LinkSettings& settings)
        : mIo(io), mConsole(console), mSettings(settings)
    {}

    /// Called after a device has come, a message was printed or a connection has ended.
    std::function<void()> onChange;

    /// Records the connections that are added from now on.
    void setCapture(std::shared_ptr<cCaptureFile> capture) { mSettings.capture = std::move(capture); }

    /// Counts in @p counts what crosses the connections that are added from now on.
    void setCounts(std::shared_ptr<SessionCounts> counts) { mSettings.counts = std::move(counts); }

    /// Takes over the socket of a new client.
    void add(boost::asio::ip::tcp::socket socket);

    /// The devices that have said who they are and that the serial and the peer of @p filter allow, in the
    /// order of connecting, at most @p max.
    std::vector<SessionPtr> matching(const Filter& filter, size_t max = SIZE_MAX) const
    {
        return mIndex.find(filter, max);
    }

    /// How many devices there are, and what happens a second.
    struct Counts
    {
        size_t connected;
        size_t identified; ///< of those
        double connectsPerSecond;
        double messagesPerSecond;
    };
    Counts counts();

    /// A connection that has ended.
    struct Ended
    {
        uint64_t id; ///< the value of ended() before
        std::string peer;
        std::optional<cObjectDevice> device; ///< nothing if it did not say who it is
    };

    /// Takes the connection that ended first, of those that the serial and the peer of @p filter allow and
    /// that have ended since ended() was @p since. Nothing if there is none.
    std::optional<Ended> takeEnded(const Filter& filter, uint64_t since);

    /// How many connections there were.
    uint64_t connections() const { return mConnections; }

    /// True while the output is not read, and so the devices are not.
    bool isCongested() const { return readingPaused(); }

    /// How many connections have ended.
    uint64_t ended() const { return mEndedCount; }

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
    zulconsole::Console& mConsole;
    zulcommand::MessageLog mLog;
    LinkSettings mSettings;
    LinkNumbers mNumbers; ///< of messages to all devices
    std::unordered_map<const DeviceSession*, SessionPtr> mSessions;
    DeviceIndex mIndex;        ///< of the devices that have said who they are
    uint64_t mConnections = 0; ///< since the beginning
    std::deque<Ended> mEnded;  ///< the latest kMaxEnded that no command took
    uint64_t mEndedCount = 0;
    RatePerSecond mConnects{linkNowMs()};
    RatePerSecond mMessages{linkNowMs()};
};

} // namespace server

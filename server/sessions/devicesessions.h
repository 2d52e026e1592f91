#ifndef SERVER_DEVICESESSIONS_H
#define SERVER_DEVICESESSIONS_H

#include <boost/asio/io_context.hpp>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "server/commands/messagelog.h"
#include "server/io/console.h"
#include "server/sessions/devicesession.h"

namespace server {

/// Knows every connected device and prints what happens to it.
class DeviceSessions : private DeviceSession::Listener
{
public:
    using SessionPtr = std::shared_ptr<DeviceSession>;

    /// Everything is borrowed. Messages are printed and put into @p log.
    DeviceSessions(boost::asio::io_context& io, Console& console, MessageLog& log,
                   const LinkSettings& settings);

    /// Called after a device has come or a message was printed.
    std::function<void()> onChange;

    /// Takes over a client that was just accepted.
    void add(boost::asio::ip::tcp::socket socket);

    /// The one device that is meant, by its serial where one is given; null, and one sentence in
    /// @p *problem, where there is none or more than one.
    SessionPtr pick(std::optional<uint32_t> serial, std::string* problem) const;

    /// The device that has been there longest, of those with @p serial where one is given, or null.
    SessionPtr first(std::optional<uint32_t> serial) const;

    /// Messages printed so far.
    uint64_t messages() const { return mMessages; }

    /// Reads on from every device after the output was congested.
    void resumeReading();

private:
    void sessionIdentified(DeviceSession& session) override;
    void sessionMessage(DeviceSession& session, WMsg&& message) override;
    void sessionClosed(DeviceSession& session, const std::string& reason) override;
    bool readingHeld() const override { return mConsole.output().congested(); }
    void sessionReport(const DeviceSession& session, const std::string& sentence) override;
    void sessionDebug(const DeviceSession& session, const std::string& sentence) override;

    std::vector<SessionPtr> matching(std::optional<uint32_t> serial) const;

    boost::asio::io_context& mIo;
    Console& mConsole;
    MessageLog& mLog;
    const LinkSettings mSettings;
    uint8_t mLastNumber = 0;           ///< of a message to any device
    std::vector<SessionPtr> mSessions; ///< in the order of their coming
    uint64_t mMessages = 0;
};

} // namespace server

#endif

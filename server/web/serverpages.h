#pragma once

#include "server/sessions/commandrunner.h"
#include "server/sessions/devicesessions.h"
#include "zulhttp/programsite.h"

namespace server {

/// Answers the requests over HTTP that are about the server's devices.
class ServerPages
{
public:
    /// Has @p sessions count for the figures. Everything is borrowed.
    ServerPages(zulhttp::ProgramSite& site, DeviceSessions& sessions, const CommandRunner& runner);

private:
    void writeMetrics(zulhttp::MetricsText& metrics) const;
    void writeMessages(zulhttp::MetricsText& metrics) const;
    zulhttp::Response devices(const zulhttp::Request& request) const;

    DeviceSessions& mSessions;
    const CommandRunner& mRunner;
    const std::shared_ptr<SessionCounts> mCounts = std::make_shared<SessionCounts>();
};

} // namespace server

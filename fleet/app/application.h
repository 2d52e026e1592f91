#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <ctime>
#include <memory>
#include <string>

#include "fleet/app/limits.h"
#include "fleet/app/options.h"
#include "fleet/app/progressline.h"
#include "fleet/control/controlserver.h"
#include "fleet/devices/fleet.h"
#include "zulhttp/programsite.h"

namespace fleet {

/// The whole program, which only connects its parts.
class Application
{
public:
    /// @p version is the program's.
    Application(const Options& options, std::string version);
    ~Application();

    /// Plays the fleet, writes the report and the table, and returns the exit status. Call once.
    int run();

private:
    std::string prepare();
    std::string findServer(std::vector<ServerTarget::Endpoint>* addresses);
    std::string serveHttp();
    void writeMetrics(zulhttp::MetricsText& metrics) const;
    void showProgress();
    int finish();

    const Options mOptions;
    const std::string mVersion;
    const std::time_t mStarted = std::time(nullptr);
    SystemLimits mLimits;
    uint64_t mPorts = 0;
    boost::asio::io_context mIo{1};
    boost::asio::signal_set mSignals;
    LinkTimer mProgressTimer;
    ProgressLine mProgress;
    std::unique_ptr<Fleet> mFleet;
    std::unique_ptr<zulhttp::ProgramSite> mHttp; ///< null without HTTP
    std::unique_ptr<ControlServer> mControl;     ///< null without a control socket
};

} // namespace fleet

#pragma once

#include <boost/asio/io_context.hpp>
#include <functional>
#include <string>

#include "zulhttp/httpserver.h"
#include "zulhttp/httpsettings.h"
#include "zulhttp/metricstext.h"

namespace zulhttp {

/// What every program serves over HTTP: its figures, whether it works, its version, and a page of the
/// figures.
class ProgramSite
{
public:
    /// @p io outlives it. @p version is the program's name and version, "zulserver 1.2.3".
    ProgramSite(boost::asio::io_context& io, HttpSettings settings, const std::string& version);

    /// Writes the figures of the program.
    std::function<void(MetricsText&)> onMetrics = [](MetricsText&) {};

    /// True while the program can do its work.
    std::function<bool()> isHealthy = [] { return true; };

    /// Gets one sentence for the user.
    std::function<void(const std::string&)> onReport;

    /// For the program's own pages.
    Site& site() { return mSite; }

    /// Listens and serves; onReport gets a warning if other machines may ask. Returns why that is not
    /// possible, or an empty text, without its end.
    std::string start();

    /// The line that says where it listens.
    zulcommand::JsonPtr line() const;

private:
    const HttpSettings mSettings;
    const std::string mVersion;
    Site mSite;
    HttpServer mServer;
};

} // namespace zulhttp

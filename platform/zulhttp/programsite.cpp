#include "zulhttp/programsite.h"

#include <utility>

namespace zulhttp {

/// The files in the folder `page`.
std::span<const Resource> resources();

ProgramSite::ProgramSite(boost::asio::io_context& io, HttpSettings settings, const std::string& version)
    : mSettings(std::move(settings)), mVersion(version), mSite(mSettings.remoteNames), mServer(io, mSite)
{
    mSite.add(resources());
    mSite.get("/metrics", [this](const Request&) {
        MetricsText metrics;
        onMetrics(metrics);
        return Response{.type = MetricsText::kType, .body = metrics.text()};
    });
    mSite.get("/healthz", [this](const Request&) {
        return isHealthy() ? Response{.body = "ok\n"} : problem(503, "New connections cannot be accepted.");
    });
    mSite.get("/version", [this](const Request&) {
        const size_t blank = mVersion.find(' ');
        return jsonResponse(zulcommand::JsonPtr(
            json_pack("{s:o, s:o}", "program", zulcommand::textOf(mVersion.substr(0, blank)), "version",
                      zulcommand::textOf(mVersion.substr(std::min(blank + 1, mVersion.size()))))));
    });
}

std::string ProgramSite::start()
{
    PeerAcceptor& acceptor = mServer.acceptor();
    acceptor.onError = onReport;
    if (std::string problem = acceptor.open(mSettings.host, mSettings.port); !problem.empty()) {
        return "--http: " + problem;
    }
    if (!mSettings.remoteNames.empty()) {
        onReport("HTTP at " + acceptor.endpoint().address().to_string() +
                 ": other machines can read it, and nobody is asked for a password.");
    }
    acceptor.accept();
    return "";
}

zulcommand::JsonPtr ProgramSite::line() const
{
    const auto& endpoint = mServer.acceptor().endpoint();
    return zulcommand::JsonPtr(json_pack("{s:s, s:o, s:i}", "event", "http", "address",
                                         zulcommand::textOf(endpoint.address().to_string()), "port",
                                         endpoint.port()));
}

} // namespace zulhttp

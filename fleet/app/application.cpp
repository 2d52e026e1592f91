#include "fleet/app/application.h"

#include <chrono>
#include <csignal>
#include <iostream>
#include <sys/utsname.h>
#include <unistd.h>
#include <utility>

#include "fleet/report/reporttable.h"
#include "wfile/atomicfile.h"
#include "zulconsole/heldsignals.h"
#include "zullink/endpoints.h"
#include "zullink/resolver.h"

namespace fleet {

namespace {

/// On a terminal the line is rewritten at this interval.
constexpr double kTerminalSeconds = 1.0;

std::string kernel()
{
    utsname name{};
    return ::uname(&name) == 0 ? std::string(name.sysname) + ' ' + name.release : "";
}

int fail(const std::string& sentence)
{
    std::cerr << "zulfleet: " << sentence << std::endl;
    return 1;
}

} // namespace

Application::Application(const Options& options, std::string version)
    : mOptions(options),
      mVersion(std::move(version)),
      mSignals(mIo, SIGINT, SIGTERM),
      mProgressTimer(mIo),
      mProgress(STDERR_FILENO)
{}

Application::~Application() = default;

/// The server's addresses; an empty text, or one sentence if there are none.
std::string Application::findServer(std::vector<ServerTarget::Endpoint>* addresses)
{
    const sHostPort& server = mOptions.server;
    const zulconsole::HeldSignals signals({SIGINT, SIGTERM});
    *addresses =
        endpointsOf(resolveAddress(server.host, server.port, mOptions.fleet.link.connectMs, signals.fd()));
    return addresses->empty() ? "the server's name has no address: " + server.host + "." : "";
}

/// All that may go wrong before a device connects. Returns one sentence if it does.
std::string Application::prepare()
{
    for (const auto& report : {mOptions.report, mOptions.junit}) {
        const WStatus status = report ? checkReport(*report) : WStatus::ok();
        if (!status.isOk()) {
            return writeMistake(*report, status);
        }
    }
    std::vector<ServerTarget::Endpoint> addresses;
    if (std::string mistake = findServer(&addresses); !mistake.empty()) {
        return mistake;
    }
    std::vector<ServerTarget::Address> sources;
    for (const std::string& address : mOptions.bind) {
        sources.push_back(boost::asio::ip::make_address(address));
    }
    ServerTarget target(addresses, std::move(sources));
    const size_t sourceCount = target.sourceCount(addresses.front());
    if (!mOptions.bind.empty() && sourceCount == 0) {
        return "--bind has no address of the server's family.";
    }
    mLimits = SystemLimits::take();
    mPorts = portsFor(mLimits, sourceCount);
    const uint32_t devices = mOptions.fleet.shard.size(mOptions.fleet.count);
    if (std::string mistake = checkLimits(devices, mOptions.fleet.counts, sourceCount, mLimits);
        !mistake.empty()) {
        return mistake;
    }
    mFleet = std::make_unique<Fleet>(mIo, mOptions.fleet, std::move(target));
    if (std::string mistake = mOptions.http ? serveHttp() : ""; !mistake.empty() || !mOptions.control) {
        return mistake;
    }
    mControl = std::make_unique<ControlServer>(mIo, *mFleet);
    mControl->onQuit = [this] { mIo.stop(); };
    return mControl->listen(*mOptions.control);
}

std::string Application::serveHttp()
{
    mHttp = std::make_unique<zulhttp::ProgramSite>(mIo, *mOptions.http, "zulfleet " + mVersion);
    mHttp->onReport = [](const std::string& sentence) { std::cerr << "zulfleet: " << sentence << std::endl; };
    mHttp->onMetrics = [this](zulhttp::MetricsText& metrics) { writeMetrics(metrics); };
    const std::string problem = mHttp->start();
    if (problem.empty()) {
        std::cout << zulcommand::lineText(mHttp->line(), std::chrono::system_clock::now()) << std::endl;
    }
    return problem.empty() ? "" : problem + ".";
}

void Application::writeMetrics(zulhttp::MetricsText& metrics) const
{
    const Fleet::Progress progress = mFleet->progress();
    metrics.gauge("zul_devices_identified", "Devices that the server has asked who they are, connected now.")
        .value(progress.in);
    metrics.gauge("zul_devices_connecting", "Devices that connect, or wait to be asked who they are.")
        .value(progress.connecting);
    metrics.gauge("zul_devices_down", "Devices without a connection.").value(progress.down);
    const FleetReport report = mFleet->report();
    const EventCounts events = report.events();
    metrics.gauge("zul_events_waiting", "Events that wait to be sent.").value(events.waiting);
    metrics.counter("zul_events_late_total", "Events that were sent later than planned.").value(events.late);
    metrics.counter("zul_events_dropped_total", "Events that were dropped as too many waited.")
        .value(events.dropped);
    metrics.counter("zul_events_sent_total", "Events that were sent, by their kind.");
    for (size_t kind = 0; kind < kEventKinds.size(); ++kind) {
        metrics.value(report.kinds[kind].sent, {{"kind", kEventKinds[kind]}});
    }
}

int Application::run()
{
    mSignals.async_wait([this](const boost::system::error_code& error, int) {
        if (!error) {
            mIo.stop();
        }
    });
    Scenarios::Timetables timetables;
    // A mistake in a scenario tells its own place.
    if (const std::string mistake = readScenarios(mOptions.scenarios, mOptions.fleet.counts, &timetables);
        !mistake.empty()) {
        std::cerr << mistake << std::endl;
        return 1;
    }
    if (mOptions.check) {
        return 0;
    }
    if (const std::string mistake = prepare(); !mistake.empty()) {
        return fail(mistake);
    }
    mFleet->onEnd = [this] { mIo.stop(); };
    mFleet->play(timetables);
    mFleet->start();
    showProgress();
    mIo.run();
    mProgress.finish();
    return finish();
}

void Application::showProgress()
{
    const double seconds = mProgress.isTerminal() ? kTerminalSeconds : mOptions.progressSeconds;
    mProgressTimer.expires_after(
        std::chrono::duration_cast<LinkTimer::duration>(std::chrono::duration<double>(seconds)));
    mProgressTimer.async_wait([this](const boost::system::error_code& error) {
        if (!error) {
            mProgress.show(mFleet->progress());
            showProgress();
        }
    });
}

int Application::finish()
{
    FleetReport report = mFleet->report();
    report.version = mVersion;
    report.kernel = kernel();
    report.run = mOptions.runId;
    if (mOptions.isPart) {
        report.shard = mOptions.fleet.shard;
    }
    report.limits = {mLimits.descriptors, mPorts};
    std::cout << reportTable(report) << std::flush;
    if (mOptions.report) {
        if (const WStatus status = writeReport(report, *mOptions.report); !status.isOk()) {
            return fail(writeMistake(*mOptions.report, status));
        }
    }
    const zulscenario::ScenarioReport scenarios = mFleet->scenarioReport();
    if (mOptions.junit) {
        const WStatus status = cAtomicFile(*mOptions.junit).write(scenarios.junit("zulfleet", mStarted));
        if (!status.isOk()) {
            return fail(writeMistake(*mOptions.junit, status));
        }
    }
    const EventCounts events = report.events();
    const bool allSent = events.dropped == 0 && events.waiting == 0;
    const bool enough = report.devices.in >= mOptions.fleet.shard.require(mOptions.require);
    return allSent && enough && !scenarios.isMissed() ? 0 : 4;
}

} // namespace fleet

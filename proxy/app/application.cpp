#include "proxy/app/application.h"

#include <boost/asio/post.hpp>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <iterator>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "proxy/commands/commandrunner.h"
#include "proxy/faults/faultline.h"
#include "zulcommand/commandwords.h"
#include "zullink/endpoints.h"
#include "zullink/resolver.h"

namespace proxy {

using zulcommand::JsonPtr;
using zulcommand::quote;

namespace {

/// The longest wait for the address of the server's name.
constexpr int kResolveMs = 10'000;

/// How long the program waits at its end for a slow reader.
constexpr int kLastLinesMs = 2000;

std::string cannotWrite(const char* what, const std::string& path, const std::string& problem)
{
    return std::string("The ") + what + " " + quote(path) + " cannot be written: " + problem + ".";
}

} // namespace

Application::Application(const Options& options, std::string version)
    : mOptions(options), mVersion(std::move(version)), mSignals({SIGTERM, SIGINT, SIGCHLD})
{
    mSignalStream.assign(::fcntl(mSignals.fd(), F_DUPFD_CLOEXEC, 0));
}

Application::~Application()
{
    if (mCapture) {
        // Connections are closed, and that is recorded, after the console is gone.
        mCapture->setReport(nullptr);
    }
}

int Application::run()
{
    if (const std::string mistake = prepare(); !mistake.empty()) {
        mConsole->report(mistake);
        return 1;
    }
    begin();
    mIo.run();
    return mStatus;
}

/// All that may go wrong before a device connects. Returns one sentence if it does.
std::string Application::prepare()
{
    std::string mistake = openLines();
    Proxy::Settings settings{.seed = mOptions.seed};
    if (mistake.empty()) {
        mistake = findServer(&settings.servers);
    }
    if (mistake.empty()) {
        mistake = openCapture();
    }
    settings.capture = mCapture;
    return mistake.empty() ? listen(settings) : mistake;
}

/// The program's own lines go to standard output, which a command has for itself.
std::string Application::openLines()
{
    const int standard = mOptions.command.empty() ? STDOUT_FILENO : STDERR_FILENO;
    int file = -1;
    int error = 0;
    if (mOptions.log) {
        file = ::open(mOptions.log->c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0666);
        error = file < 0 ? errno : 0;
    }
    makeConsole(file < 0 ? standard : file);
    ::close(file);
    return error == 0 ? "" : cannotWrite("log", *mOptions.log, std::generic_category().message(error));
}

void Application::makeConsole(int outputFd)
{
    mConsole = std::make_unique<zulconsole::Console>(mIo, "zulproxy", outputFd, STDERR_FILENO, false);
    mConsole->output().onWritable = [this] { mProxy->resumeReading(); };
    mConsole->output().onWriteFailed = [this](const std::string& reason) {
        mConsole->report("The lines cannot be written any more: " + reason + ".");
        mChild.signal(SIGTERM);
        finish(1);
    };
}

std::string Application::findServer(std::vector<Proxy::Endpoint>* servers)
{
    const sHostPort& server = mOptions.server;
    *servers = endpointsOf(resolveAddress(server.host, server.port, kResolveMs, mSignals.fd()));
    return servers->empty() ? "The server's name has no address: " + server.host + "." : "";
}

std::string Application::openCapture()
{
    if (!mOptions.capture) {
        return "";
    }
    const WStatus status =
        cCaptureFile::create(*mOptions.capture, mVersion, &mCapture,
                             {std::begin(Proxy::kInterfaces), std::end(Proxy::kInterfaces)});
    if (!status.isOk()) {
        return cannotWrite("capture file", *mOptions.capture, status.problem());
    }
    // Called on the thread that writes the file.
    mCapture->setReport([this](const std::string& sentence) {
        boost::asio::post(mIo, [this, sentence] { mConsole->report(sentence); });
    });
    return "";
}

std::string Application::listen(const Proxy::Settings& settings)
{
    mProxy = std::make_unique<Proxy>(mIo, settings);
    mProxy->onLine = [this](const JsonPtr& line) { writeLine(line); };
    mProxy->onProblem = [this](const std::string& sentence) { mConsole->report(sentence); };
    mProxy->isPaused = [this] { return mConsole->output().congested(); };
    mProxy->onFault = [this](const Fault& fault) {
        writeLine(faultLine(fault));
        mFaults.add(fault);
    };
    for (const Rule& rule : mOptions.rules) {
        mProxy->addRule(rule);
    }
    if (std::string problem = mProxy->open(mOptions.listenAddress, mOptions.listenPort); !problem.empty()) {
        return problem + ".";
    }
    if (std::string mistake = mOptions.http ? serveHttp() : ""; !mistake.empty() || !mOptions.control) {
        return mistake;
    }
    mControl = std::make_unique<zulconsole::ControlSocket>(mIo, [this] { return makeRunner(); });
    mControl->onQuit = [this] { quit(SIGTERM); };
    return mControl->listen(*mOptions.control);
}

std::string Application::serveHttp()
{
    mHttp = std::make_unique<zulhttp::ProgramSite>(mIo, *mOptions.http, mVersion);
    mHttp->onReport = [this](const std::string& sentence) { mConsole->report(sentence); };
    mHttp->isHealthy = [this] { return !mProxy->isFailing(); };
    mHttp->onMetrics = [this](zulhttp::MetricsText& metrics) { writeMetrics(metrics); };
    const std::string problem = mHttp->start();
    return problem.empty() ? "" : problem + ".";
}

void Application::writeMetrics(zulhttp::MetricsText& metrics) const
{
    metrics.gauge("zul_devices_connected", "Devices whose connection reaches the server now.")
        .value(json_array_size(mProxy->connections().get()));
    metrics.counter("zul_connects_total", "Connections of devices that were accepted.")
        .value(mProxy->accepted());
    metrics.gauge("zul_rules", "Rules that are in effect or wait for their time.")
        .value(mProxy->rules().size());
    metrics.gauge("zul_faults_kept", "Faults that no command has taken yet.").value(mFaults.all().size());
    metrics.counter("zul_faults_total", "Faults that were done, by their kind.");
    for (const auto& [kind, count] : mFaults.counts()) {
        metrics.value(count, {{"kind", nameOf(kind)}});
    }
}

std::unique_ptr<zulcommand::LineRunner> Application::makeRunner()
{
    auto runner = std::make_unique<CommandRunner>(mIo, *mProxy, mFaults);
    runner->onHelp = [this](const std::string& lines) { mConsole->text(lines); };
    return runner;
}

void Application::begin()
{
    const Proxy::Endpoint& endpoint = mProxy->endpoint();
    if (!endpoint.address().is_loopback()) {
        mConsole->report("Listening at " + endpoint.address().to_string() +
                         ": other machines can reach this proxy, which asks nobody for a password.");
    }
    writeLine(JsonPtr(json_pack("{s:s, s:o, s:i, s:I}", "event", "listening", "address",
                                zulcommand::textOf(endpoint.address().to_string()), "port", endpoint.port(),
                                "seed", static_cast<json_int_t>(mProxy->seed()))));
    if (mHttp) {
        writeLine(mHttp->line());
    }
    mProxy->start();
    waitForSignal();
    if (mOptions.command.empty()) {
        mInput = std::make_unique<InputCommands>(mIo, STDIN_FILENO, *mConsole, makeRunner());
        mInput->onQuit = [this] { quit(SIGTERM); };
    } else {
        startCommand();
    }
}

void Application::startCommand()
{
    const boost::asio::ip::address& address = mProxy->endpoint().address();
    const Proxy::Endpoint reachable(address.is_unspecified() ? boost::asio::ip::address_v4::loopback()
                                                             : address,
                                    mProxy->endpoint().port());
    const std::vector<std::string> words =
        ChildCommand::wordsFor(mOptions.command, toText({reachable.address().to_string(), reachable.port()}));
    if (const int status = mChild.start(words, mSignals.former()); status != 0) {
        mConsole->report("The command " + quote(words.front()) +
                         (status == ChildCommand::kNotFound ? " was not found." : " cannot be run."));
        finish(status);
    }
}

void Application::writeLine(const JsonPtr& line)
{
    mConsole->line(line);
    if (mControl) {
        mControl->writeLine(line);
    }
}

void Application::waitForSignal()
{
    mSignalStream.async_wait(boost::asio::posix::stream_descriptor::wait_read,
                             [this](const boost::system::error_code& error) {
                                 if (!error) {
                                     takeSignals();
                                     waitForSignal();
                                 }
                             });
}

void Application::takeSignals()
{
    while (const std::optional<signalfd_siginfo> signal = mSignals.take()) {
        const auto number = static_cast<int>(signal->ssi_signo);
        if (number == SIGCHLD) {
            if (const std::optional<int> status = mChild.takeStatus()) {
                finish(*status);
            }
        } else if (!mChild.isRunning() || signal->ssi_code != SI_KERNEL) {
            quit(number); // from a terminal it goes to the command as well
        }
    }
}

/// Ends the program, or with a command that one first.
void Application::quit(int signal)
{
    if (mChild.isRunning()) {
        mChild.signal(signal);
    } else {
        finish(0);
    }
}

/// Nothing is printed after this.
void Application::finish(int status)
{
    if (std::exchange(mFinished, true)) {
        return;
    }
    mStatus = status;
    if (!mConsole->output().finish(kLastLinesMs)) {
        mConsole->report("The last lines were not written, as nobody reads them.");
    }
    mIo.stop();
}

} // namespace proxy

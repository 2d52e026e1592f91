#include "server/app/application.h"

#include <boost/asio/post.hpp>
#include <chrono>
#include <csignal>
#include <unistd.h>
#include <utility>

#include "server/io/jsonline.h"
#include "wfile/atomicfile.h"
#include "zulcommand/commandwords.h"

namespace server {

using namespace zulcommand;

namespace {

/// How long the program waits at its end for a slow reader.
constexpr int kLastLinesMs = 2000;

std::string cannotWrite(const char* what, const std::string& path, const WStatus& status)
{
    return std::string("The ") + what + " " + quote(path) + " cannot be written: " + status.problem();
}

} // namespace

Application::Application(Options options, const LinkSettings& settings, const Streams& streams,
                         std::string program)
    : mOptions(std::move(options)),
      mStreams(streams),
      mProgram(std::move(program)),
      mConsole(mIo, "zulserver", streams.output, streams.error, mOptions.verbose),
      mSessions(mIo, mConsole, settings),
      mRunner(mIo, mConsole, mSessions),
      mAcceptor(mIo),
      mSignals(mIo),
      mTimer(mIo)
{
    mConsole.setQuiet(mOptions.quiet);
    mConsole.output().onWritable = [this] { mSessions.resumeReading(); };
    mConsole.output().onWriteFailed = [this](const std::string& reason) {
        failRun("Standard output cannot be written: " + reason + ".");
        finish(1);
    };
    mSessions.onChange = [this] {
        if (mFinished) {
            return;
        }
        mRunner.sessionsChanged();
        if (mOptions.count && mSessions.log().added() >= *mOptions.count) {
            finish(mRunner.exitStatusCutOff());
        }
    };
    mRunner.onEnd = [this] { finish(mRunner.exitStatus()); };
    mAcceptor.onPeer = [this](boost::asio::ip::tcp::socket socket) { mSessions.add(std::move(socket)); };
    mAcceptor.onError = [this](const std::string& sentence) { mConsole.report(sentence); };
    if (mOptions.junit) {
        mRunner.onBegin = [this](const std::string& text) { mReport.commandBegun(text); };
        mRunner.onReply = [this](const Reply& reply, double seconds) { mReport.commandDone(reply, seconds); };
        mConsole.onLine = [this](const std::string& line) { mReport.addLine(line); };
    }
}

Application::~Application()
{
    mConsole.setPrompt(nullptr);
    if (mPortFileWritten) {
        ::unlink(mOptions.portFile->c_str());
    }
    if (mCapture) {
        // Connections are closed, and that is recorded, after the console is gone.
        mCapture->setReport(nullptr);
    }
}

void Application::endOnSignals()
{
    mSignals.add(SIGTERM);
    mSignals.add(SIGINT);
    struct sigaction hangup = {};
    // Under nohup(1) it stays ignored.
    if (::sigaction(SIGHUP, nullptr, &hangup) == 0 && hangup.sa_handler != SIG_IGN) {
        mSignals.add(SIGHUP);
    }
    mSignals.async_wait([this](const boost::system::error_code& error, int) {
        if (!error) {
            finish(mRunner.exitStatusCutOff());
        }
    });
}

int Application::run()
{
    if (!checkFile("report", mOptions.junit) || !checkFile("port file", mOptions.portFile)) {
        return 1;
    }
    if (listen()) {
        startTimer();
        takeCommands();
        mAcceptor.accept();
        mIo.run();
    } else {
        mStatus = 1;
        submitGivenCommands(); // for the report
    }
    writeReport();
    return mStatus;
}

/// False, after a report, if there is a @p path and its file cannot be written.
bool Application::checkFile(const char* what, const std::optional<std::string>& path)
{
    const WStatus status = path ? cAtomicFile(*path).check() : WStatus::ok();
    if (!status.isOk()) {
        mConsole.report(cannotWrite(what, *path, status) + ".");
    }
    return status.isOk();
}

void Application::writeReport()
{
    if (!mOptions.junit) {
        return;
    }
    if (mRunner.isRunning()) {
        mReport.cutOff();
    }
    for (const std::string& command : mRunner.waiting()) {
        mReport.neverBegun(command);
    }
    if (!mRunFailure.empty()) {
        mReport.runFailed(mRunFailure);
    }
    const WStatus status = cAtomicFile(*mOptions.junit).write(mReport.xml());
    if (!status.isOk()) {
        mConsole.report(cannotWrite("report", *mOptions.junit, status) + ".");
        mStatus = 1;
    }
}

void Application::failRun(const std::string& sentence)
{
    mConsole.report(sentence);
    mRunFailure = sentence;
}

void Application::stop()
{
    boost::asio::post(mIo, [this] { finish(mRunner.exitStatusCutOff()); });
}

bool Application::listen()
{
    std::string problem = mAcceptor.open(mOptions.listen, mOptions.port);
    const boost::asio::ip::tcp::endpoint& endpoint = mAcceptor.endpoint();
    if (problem.empty() && mOptions.capture) {
        const WStatus status = cCaptureFile::create(*mOptions.capture, mProgram, &mCapture);
        problem = mCapture ? "" : cannotWrite("capture file", *mOptions.capture, status);
    }
    if (problem.empty() && mOptions.http) {
        problem = serveHttp();
    }
    if (problem.empty() && mOptions.portFile) {
        const WStatus status = cAtomicFile(*mOptions.portFile).write(std::to_string(endpoint.port()) + "\n");
        mPortFileWritten = status.isOk();
        problem = mPortFileWritten ? "" : cannotWrite("port file", *mOptions.portFile, status);
    }
    if (!problem.empty()) {
        failRun(problem + ".");
        return false;
    }
    if (mCapture) {
        // Called on the thread that writes the file.
        mCapture->setReport([this](const std::string& sentence) {
            boost::asio::post(mIo, [this, sentence] { mConsole.report(sentence); });
        });
        mSessions.setCapture(mCapture);
    }
    if (!endpoint.address().is_loopback()) {
        mConsole.report("Listening at " + endpoint.address().to_string() +
                        ": other machines can reach this server, which asks nobody for a password.");
    }
    mConsole.line(listeningLine(endpoint.address().to_string(), endpoint.port()));
    if (mHttp) {
        mConsole.line(mHttp->line());
    }
    return true;
}

std::string Application::serveHttp()
{
    mHttp = std::make_unique<zulhttp::ProgramSite>(mIo, *mOptions.http, mProgram);
    mHttp->onReport = [this](const std::string& sentence) { mConsole.report(sentence); };
    mHttp->isHealthy = [this] { return !mAcceptor.isFailing(); };
    mPages = std::make_unique<ServerPages>(*mHttp, mSessions, mRunner);
    return mHttp->start();
}

void Application::startTimer()
{
    if (!mOptions.timeout) {
        return;
    }
    const std::chrono::duration<double> time(*mOptions.timeout);
    mTimer.expires_after(std::chrono::duration_cast<std::chrono::steady_clock::duration>(time));
    mTimer.async_wait([this](const boost::system::error_code& error) {
        if (!error) {
            if (!mRunner.runTimedOut()) {
                mRunFailure = "The time of the whole run is over.";
            }
            finish(mRunner.exitStatus());
        }
    });
}

void Application::submitGivenCommands()
{
    for (const std::string& command : mOptions.commands) {
        mRunner.submit(command);
    }
}

void Application::takeCommands()
{
    if (mOptions.commandsGiven) {
        submitGivenCommands();
        mRunner.endOfCommands();
    } else if (zulconsole::Prompt::possibleAt(mStreams.input)) {
        mPrompt = std::make_unique<zulconsole::Prompt>(mIo, mStreams.input, "zulserver");
        mPrompt->onLine = [this](const std::string& line) { mRunner.submit(line); };
        mPrompt->start();
        mConsole.setPrompt(mPrompt.get());
    } else {
        mLineInput = std::make_unique<zulconsole::LineInput>(mIo, mStreams.input, kMaxCommandBytes);
        mLineInput->onLine = [this](const std::string& line) {
            mRunner.submit(line);
            if (mRunner.full()) {
                mLineInput->hold();
            }
        };
        mRunner.onSpaceAvailable = [this] { mLineInput->resume(); };
        mLineInput->onError = [this](const std::string& reason) {
            mConsole.report("Commands cannot be read any more: " + reason + ".");
        };
        mLineInput->start();
    }
}

/// Nothing is printed after this.
void Application::finish(int status)
{
    if (mFinished) {
        return;
    }
    mFinished = true;
    mStatus = status;
    if (!mConsole.output().finish(kLastLinesMs)) {
        mConsole.report("The last lines were not written, as nobody reads them.");
    }
    mIo.stop();
}

} // namespace server

#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <memory>
#include <string>

#include "server/app/options.h"
#include "server/report/junitreport.h"
#include "server/sessions/commandrunner.h"
#include "server/sessions/devicesessions.h"
#include "server/web/serverpages.h"
#include "zulconsole/console.h"
#include "zulconsole/lineinput.h"
#include "zulconsole/prompt.h"
#include "zullink/peeracceptor.h"

namespace server {

/// The whole server, which only connects its parts.
class Application
{
public:
    /// The descriptors of the standard streams; borrowed.
    struct Streams
    {
        int input = 0;
        int output = 1;
        int error = 2;
    };

    /// @p program is its name and version, for a capture.
    Application(Options options, const LinkSettings& settings, const Streams& streams,
                std::string program = "zulserver");
    ~Application();

    /// Ends run() on SIGTERM, SIGINT or SIGHUP, with status 0, or 4 after a failed expectation.
    void endOnSignals();

    /// Serves and returns the exit status. Call once.
    int run();

    /// Ends run() as a signal does; any thread may call.
    void stop();

private:
    bool checkFile(const char* what, const std::optional<std::string>& path);
    void writeReport();
    void failRun(const std::string& sentence);
    std::string serveHttp();
    bool listen();
    void takeCommands();
    void submitGivenCommands();
    void startTimer();
    void finish(int status);

    const Options mOptions;
    const Streams mStreams;
    const std::string mProgram;
    std::shared_ptr<cCaptureFile> mCapture; ///< may be null
    boost::asio::io_context mIo;
    zulconsole::Console mConsole;
    DeviceSessions mSessions;
    CommandRunner mRunner;
    PeerAcceptor mAcceptor;
    JunitReport mReport;
    std::string mRunFailure; ///< if the run failed for a reason outside of the commands
    boost::asio::signal_set mSignals;
    boost::asio::steady_timer mTimer;
    std::unique_ptr<zulhttp::ProgramSite> mHttp; ///< null without HTTP
    std::unique_ptr<ServerPages> mPages;         ///< likewise
    std::unique_ptr<zulconsole::LineInput> mLineInput;
    std::unique_ptr<zulconsole::Prompt> mPrompt;
    bool mPortFileWritten = false;
    bool mFinished = false;
    int mStatus = 0;
};

} // namespace server

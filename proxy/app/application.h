#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <memory>
#include <optional>
#include <string>

#include "proxy/app/childcommand.h"
#include "proxy/app/inputcommands.h"
#include "proxy/app/options.h"
#include "proxy/app/proxy.h"
#include "proxy/commands/faultlog.h"
#include "zulconsole/console.h"
#include "zulconsole/controlsocket.h"
#include "zulconsole/heldsignals.h"
#include "zulhttp/programsite.h"

namespace proxy {

/// The whole program, which only connects its parts.
class Application
{
public:
    /// @p version is the program's name and version, for a capture.
    Application(const Options& options, std::string version);
    ~Application();

    /// Passes connections on until the program is told to end, or its command has ended, and returns the exit
    /// status. Call once.
    int run();

private:
    std::string prepare();
    std::string serveHttp();
    void writeMetrics(zulhttp::MetricsText& metrics) const;
    std::string findServer(std::vector<Proxy::Endpoint>* servers);
    std::string openCapture();
    std::string listen(const Proxy::Settings& settings);
    void makeConsole(int outputFd);
    std::string openLines();
    void begin();
    void startCommand();
    void writeLine(const zulcommand::JsonPtr& line);
    std::unique_ptr<zulcommand::LineRunner> makeRunner();
    void waitForSignal();
    void takeSignals();
    void quit(int signal);
    void finish(int status);

    const Options mOptions;
    const std::string mVersion;
    zulconsole::HeldSignals mSignals;
    boost::asio::io_context mIo{1};
    boost::asio::posix::stream_descriptor mSignalStream{mIo};
    FaultLog mFaults;
    std::shared_ptr<cCaptureFile> mCapture; ///< may be null
    std::unique_ptr<zulconsole::Console> mConsole;
    std::unique_ptr<Proxy> mProxy;
    std::unique_ptr<zulconsole::ControlSocket> mControl; ///< null without a control socket
    std::unique_ptr<zulhttp::ProgramSite> mHttp;         ///< null without HTTP
    std::unique_ptr<InputCommands> mInput;               ///< null with a command
    ChildCommand mChild;
    bool mFinished = false;
    int mStatus = 0;
};

} // namespace proxy

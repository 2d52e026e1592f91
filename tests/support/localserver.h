#pragma once

#include <memory>
#include <string>
#include <thread>

#include "linecatcher.h"
#include "server/app/application.h"

/// A whole server in this process, at a free port, with pipes for its standard streams.
class LocalServer
{
public:
    explicit LocalServer(const server::LinkSettings& settings = {}, server::Options options = {});
    ~LocalServer();
    LocalServer(const LocalServer&) = delete;
    LocalServer& operator=(const LocalServer&) = delete;

    uint16_t port() const { return mPort; }
    LineCatcher& lines() { return *mLines; }
    LineCatcher& errors() { return *mErrors; }

    /// Types a command.
    void type(const std::string& command);

    /// Types a command and returns its reply; other lines are passed over.
    zulcommand::JsonPtr reply(const std::string& command);

    /// Waits for the server's end and returns its exit status.
    int wait();

private:
    std::unique_ptr<LineCatcher> mLines;
    std::unique_ptr<LineCatcher> mErrors;
    int mTyping = -1;
    int mServerEnds[3] = {-1, -1, -1};
    std::unique_ptr<server::Application> mApplication;
    std::thread mThread;
    uint16_t mPort = 0;
    int mStatus = -1;
};

#include "localserver.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <utility>

LocalServer::LocalServer(const server::LinkSettings& settings, server::Options options)
{
    int input[2] = {-1, -1};
    int output[2] = {-1, -1};
    int errors[2] = {-1, -1};
    EXPECT_EQ(::pipe2(input, O_CLOEXEC) + ::pipe2(output, O_CLOEXEC) + ::pipe2(errors, O_CLOEXEC), 0);
    mTyping = input[1];
    mLines = std::make_unique<LineCatcher>(output[0]);
    mErrors = std::make_unique<LineCatcher>(errors[0]);
    mServerEnds[0] = input[0];
    mServerEnds[1] = output[1];
    mServerEnds[2] = errors[1];

    options.port = 0;
    const server::Application::Streams streams{input[0], output[1], errors[1]};
    mApplication = std::make_unique<server::Application>(std::move(options), settings, streams);
    mThread = std::thread([this] { mStatus = mApplication->run(); });
    const zulcommand::JsonPtr listening = mLines->next();
    EXPECT_EQ(member(listening, "event"), "listening");
    mPort = static_cast<uint16_t>(json_integer_value(json_object_get(listening.get(), "port")));
}

LocalServer::~LocalServer()
{
    mApplication->stop();
    wait();
    mApplication.reset();
    ::close(mTyping);
    for (const int fd : mServerEnds) {
        ::close(fd);
    }
}

int LocalServer::wait()
{
    if (mThread.joinable()) {
        mThread.join();
    }
    return mStatus;
}

void LocalServer::type(const std::string& command)
{
    const std::string line = command + "\n";
    EXPECT_EQ(::write(mTyping, line.data(), line.size()), static_cast<ssize_t>(line.size()));
}

zulcommand::JsonPtr LocalServer::reply(const std::string& command)
{
    type(command);
    return mLines->next("reply");
}

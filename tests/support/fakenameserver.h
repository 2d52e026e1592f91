#pragma once

#include <atomic>
#include <cstdint>
#include <thread>

/// A name server of the loopback address to whom every name is 127.0.0.1.
class FakeNameServer
{
public:
    FakeNameServer();
    ~FakeNameServer();
    FakeNameServer(const FakeNameServer&) = delete;
    FakeNameServer& operator=(const FakeNameServer&) = delete;

private:
    void answerQuestions();

    int mFd;
    std::atomic<bool> mOver{false};
    std::thread mThread;
};

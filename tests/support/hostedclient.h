#pragma once

#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <poll.h>
#include <thread>
#include <utility>
#include <vector>

#include "zullink/wakeup.h"
#include "zulobj/objclient.h"

/// A client that is lent to a thread with a small event loop.
class HostedClient
{
public:
    explicit HostedClient(const cObjectClient::Settings& settings)
        : mClient(std::make_unique<cObjectClient>(settings))
    {
        mClient->setDriver([this] { mBell.wake(); });
        mThread = std::thread([this] { handleEvents(); });
    }
    ~HostedClient()
    {
        run([this] {
            mClient->stop();
            mOver = true;
        });
        mThread.join();
    }
    HostedClient(const HostedClient&) = delete;
    HostedClient& operator=(const HostedClient&) = delete;

    cObjectClient* client() const { return mClient.get(); }
    std::thread::id thread() const { return mThread.get_id(); }

    bool start(int port)
    {
        bool connected = false;
        run([&] { connected = mClient->start("127.0.0.1", port); });
        return connected;
    }
    void stop()
    {
        run([this] { mClient->stop(); });
    }

    /// Runs @p call on the host's thread and waits for its end.
    void run(std::function<void()> call)
    {
        std::packaged_task<void()> task(std::move(call));
        std::future<void> done = task.get_future();
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            mCalls.push_back(std::move(task));
        }
        mBell.wake();
        done.get();
    }

private:
    void handleEvents()
    {
        int fd = -1;
        while (!mOver) {
            pollfd waits[] = {{mBell.fd(), POLLIN, 0}, {fd, POLLIN, 0}};
            poll(waits, 2, -1);
            mBell.reset();
            for (std::packaged_task<void()>& call : takeCalls()) {
                call();
            }
            fd = mOver ? -1 : mClient->processIo();
        }
    }

    std::vector<std::packaged_task<void()>> takeCalls()
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        return std::exchange(mCalls, {});
    }

    cWakeup mBell;
    std::unique_ptr<cObjectClient> mClient;
    std::mutex mMutex;
    std::vector<std::packaged_task<void()>> mCalls; // guarded by mMutex
    bool mOver = false;                             // the host's thread's own
    std::thread mThread;
};

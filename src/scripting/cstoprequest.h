#ifndef CSTOPREQUEST_H
#define CSTOPREQUEST_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

/// Tells a thread once that it shall stop, and lets it sleep until then. Any thread may call everything.
class cStopRequest
{
public:
    void make()
    {
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            mMade = true;
        }
        mChanged.notify_all();
    }

    bool made() const { return mMade; }

    /// Sleeps so long, or until the request is made.
    void wait(std::chrono::duration<double> time)
    {
        std::unique_lock<std::mutex> lock(mMutex);
        mChanged.wait_for(lock, time, [this] { return made(); });
    }

private:
    std::mutex mMutex;
    std::condition_variable mChanged;
    std::atomic<bool> mMade{false}; // changes under mMutex
};

#endif

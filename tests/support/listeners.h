#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

#include "zulobj/objectlist.h"
#include "zulobj/objlistener.h"

constexpr std::chrono::seconds kTestPatience{20};

/// Remembers the types of the messages it is given.
class RecordingListener : public cObjectListener
{
public:
    void handleObjectAction(cObjectList* list) override
    {
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            mTypes.push_back(list->getMsgType());
        }
        mChanged.notify_all();
    }

    /// True as soon as @p count messages came.
    bool waitForCount(size_t count)
    {
        std::unique_lock<std::mutex> lock(mMutex);
        return mChanged.wait_for(lock, kTestPatience, [&] { return mTypes.size() >= count; });
    }

    std::vector<int> types() const
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mTypes;
    }

private:
    mutable std::mutex mMutex;
    std::condition_variable mChanged;
    std::vector<int> mTypes;
};

/// Stays in its first call, and so keeps the pump busy, until it is released.
class BlockingListener : public cObjectListener
{
public:
    ~BlockingListener() override { release(); }

    void handleObjectAction(cObjectList*) override
    {
        std::unique_lock<std::mutex> lock(mMutex);
        ++mCalls;
        mChanged.notify_all();
        mChanged.wait(lock, [this] { return mReleased; });
    }

    bool waitUntilCalled() { return waitForCalls(1); }

    bool waitForCalls(int calls)
    {
        std::unique_lock<std::mutex> lock(mMutex);
        return mChanged.wait_for(lock, kTestPatience, [&] { return mCalls >= calls; });
    }

    void release()
    {
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            mReleased = true;
        }
        mChanged.notify_all();
    }

    int calls() const
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mCalls;
    }

private:
    mutable std::mutex mMutex;
    std::condition_variable mChanged;
    int mCalls = 0;
    bool mReleased = false;
};

/// Does what the test says.
class FunctionListener : public cObjectListener
{
public:
    explicit FunctionListener(std::function<void(cObjectList*)> function) : mFunction(std::move(function)) {}
    void handleObjectAction(cObjectList* list) override { mFunction(list); }

private:
    std::function<void(cObjectList*)> mFunction;
};

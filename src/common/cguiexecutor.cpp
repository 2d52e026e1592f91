#include "cguiexecutor.h"

#include <QElapsedTimer>
#include <QThread>
#include <utility>

cGuiExecutor::cGuiExecutor() : mWakeupNotifier(mWakeup.fd(), QSocketNotifier::Read)
{
    connect(&mWakeupNotifier, &QSocketNotifier::activated, this, &cGuiExecutor::processTasks);
}

bool cGuiExecutor::run(const std::function<void()>& call)
{
    if (QThread::currentThread() == thread()) {
        // Only this thread closes the executor.
        if (mClosed) {
            return false;
        }
        call();
        return true;
    }
    std::unique_lock<std::mutex> lock(mMutex);
    if (mClosed) {
        return false;
    }
    std::promise<bool> promise;
    std::future<bool> done = promise.get_future();
    enqueue({std::cref(call), std::move(promise)});
    lock.unlock();
    return done.get();
}

bool cGuiExecutor::post(std::function<void()> call)
{
    if (QThread::currentThread() == thread()) {
        return run(call);
    }
    std::unique_lock<std::mutex> lock(mMutex);
    mSpaceAvailable.wait(lock, [this] { return !mFull || mClosed; });
    if (mClosed) {
        return false;
    }
    mFull = ++mPosted == kMaxPosted;
    enqueue({std::move(call), std::nullopt});
    return true;
}

void cGuiExecutor::close()
{
    // After this nothing here depends on the GUI thread, so another thread may release the last reference.
    mWakeupNotifier.setEnabled(false);
    const std::lock_guard<std::mutex> lock(mMutex);
    mClosed = true;
    for (Task& task : mTasks) {
        if (task.done) {
            task.done->set_value(false);
        }
    }
    mTasks.clear();
    mSpaceAvailable.notify_all();
}

void cGuiExecutor::processTasks()
{
    QElapsedTimer timer;
    timer.start();
    std::unique_lock<std::mutex> lock(mMutex);
    mWakeup.reset();
    mWoken = false;
    while (!mTasks.empty() && !timer.hasExpired(kTimeSliceMs)) {
        runFirst(lock);
    }
    if (!mTasks.empty()) {
        wake();
    }
}

void cGuiExecutor::runQueued()
{
    std::unique_lock<std::mutex> lock(mMutex);
    for (size_t left = mTasks.size(); left > 0 && !mTasks.empty(); --left) {
        runFirst(lock);
    }
}

void cGuiExecutor::runFirst(std::unique_lock<std::mutex>& lock)
{
    Task task = takeFirst();
    lock.unlock();
    task.call();
    if (task.done) {
        task.done->set_value(true);
    }
    lock.lock();
}

void cGuiExecutor::enqueue(Task task)
{
    mTasks.push_back(std::move(task));
    wake();
}

cGuiExecutor::Task cGuiExecutor::takeFirst()
{
    Task task = std::move(mTasks.front());
    mTasks.pop_front();
    mPosted -= task.done ? 0 : 1;
    // Wake the waiting threads at half: a thread switch for every call would cost more than the calls.
    if (mFull && mPosted <= kMaxPosted / 2) {
        mFull = false;
        mSpaceAvailable.notify_all();
    }
    return task;
}

/// Wakes the GUI thread, once for all tasks that are enqueued before it processes them.
void cGuiExecutor::wake()
{
    if (!mWoken) {
        mWoken = true;
        mWakeup.wake();
    }
}

#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <optional>

#include "zullink/wakeup.h"

/// Runs calls of other threads on the GUI thread.
///
/// Created and closed on the GUI thread; once closed, any thread may destroy it, but none while another is
/// inside run(). The owner closes it before the objects that the calls use are destroyed.
class cGuiExecutor : public QObject
{
public:
    cGuiExecutor();

    /// Runs @p call on the GUI thread and returns when it is done: at once if this is that thread, else when
    /// the GUI thread has run the calls before it. Returns false if the executor is closed; @p call never
    /// runs then.
    bool run(const std::function<void()>& call);

    /// Posts @p call to the GUI thread, in one order with run(). If kMaxPosted calls are queued, blocks until
    /// half of them have run. On the GUI thread @p call runs at once. Returns false if the executor is
    /// closed. A call that is queued when the executor is closed never runs.
    bool post(std::function<void()> call);

    /// Runs the calls that are queued now, however long they take. GUI thread only.
    void runQueued();

    /// Rejects every later call and releases the threads that wait. GUI thread only.
    void close();

    /// The maximum number of queued calls that no thread waits for.
    static constexpr size_t kMaxPosted = 256;

    /// After this time the event loop handles other events first.
    static constexpr int kTimeSliceMs = 5;

private:
    struct Task
    {
        std::function<void()> call;
        std::optional<std::promise<bool>> done; ///< whether the call ran, if a thread waits for it
    };

    void processTasks();
    /// @p lock holds mMutex, except during the call.
    void runFirst(std::unique_lock<std::mutex>& lock);
    void enqueue(Task task);
    Task takeFirst();
    void wake();

    // A descriptor, not a posted event: the race checker does not see synchronisation inside Qt's queue.
    cWakeup mWakeup;
    QSocketNotifier mWakeupNotifier;

    std::mutex mMutex;
    std::condition_variable mSpaceAvailable;

    // Guarded by mMutex.
    std::deque<Task> mTasks;
    size_t mPosted = 0; // of mTasks, those that no thread waits for
    bool mFull = false;
    bool mWoken = false;
    bool mClosed = false; ///< written by the GUI thread only, which may read it without the lock
};

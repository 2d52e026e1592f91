#ifndef ZULOBJ_EVENTPUMP_H
#define ZULOBJ_EVENTPUMP_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "zulobj/objectlist.h"
#include "zulobj/objlistener.h"

/// Delivers received lists to the listeners, one at a time and in order: on a thread of its own, or, where it
/// was not started, on the thread that calls deliverQueued().
class cEventPump
{
public:
    /// The message that is being delivered, as far as its answer needs to know it.
    struct Delivery
    {
        uint8_t type = 0;
        uint8_t seq = 0;
        uint64_t connection = 0;
    };

    /// push() waits while more than this waits to be delivered.
    static constexpr size_t kMaxQueuedBytes = 256 * 1024;

    cEventPump() = default;
    ~cEventPump();

    /// @p listener is called until the pump stops, as often as it was added, and outlives it.
    void addListener(cObjectListener* listener);

    /// Starts the thread where none runs.
    void start();

    /// Drops what is queued, waits for the call that is being made and joins the thread.
    void stop();

    /// Queues a list that took @p bytes and came over connection @p connection. Waits for room; false, and
    /// the list is dropped, while refuse(true) holds.
    bool push(std::unique_ptr<cObjectList> list, size_t bytes, uint64_t connection);

    /// Queues like push() without waiting: the caller looks for room first, and what it then receives at once
    /// may exceed the bound.
    void add(std::unique_ptr<cObjectList> list, size_t bytes, uint64_t connection);

    /// True while no more than kMaxQueuedBytes wait to be delivered.
    bool hasRoom() const { return mQueuedBytes <= kMaxQueuedBytes; }

    /// Delivers what is queued, or as much of it as hold() lets through, on the calling thread; one at a
    /// time. A listener that calls it has no effect.
    void deliverQueued();

    /// A list for push() or add(): one that has been delivered, where there is one, whose records decode()
    /// then uses again.
    std::unique_ptr<cObjectList> spareList();

    /// Turns push() away, also one that waits.
    void refuse(bool refused);

    /// Begins no further call while @p held holds: what is queued waits. The call that is being made goes on.
    void hold(bool held);

    /// True while a message of @p type is being delivered, which @p *delivery then describes.
    bool delivering(uint8_t type, Delivery* delivery) const;

private:
    struct Item
    {
        std::unique_ptr<cObjectList> list;
        size_t bytes;
        uint64_t connection;
    };

    /// A list that is larger is not kept to be used again.
    static constexpr size_t kMaxSpareRecords = 64;
    static constexpr size_t kMaxSpareBytes = 64 * 1024;

    void run();
    void deliver();
    void enqueue(Item item);
    void take();
    bool mayDeliver() const { return !mHeld && !mQueue.empty(); }

    mutable std::mutex mMutex;
    std::condition_variable mChanged;

    // Guarded by mMutex.
    std::deque<Item> mQueue;
    std::atomic<size_t> mQueuedBytes{0}; ///< may be looked at without the lock
    std::vector<cObjectListener*> mListeners;
    Delivery mDelivery;
    bool mDelivering = false;
    bool mRefused = false;
    bool mHeld = false;
    bool mStopping = false;

    std::atomic<cObjectList*> mSpare{nullptr}; ///< owned

    // The delivering thread's own.
    Item mItem{};
    std::vector<cObjectListener*> mCalled;

    // The owner's thread only.
    std::thread mThread;
};

#endif

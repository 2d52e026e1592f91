#include "zulobj/eventpump.h"

#include <utility>

cEventPump::~cEventPump()
{
    stop();
    delete mSpare.load();
}

void cEventPump::addListener(cObjectListener* listener)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mListeners.push_back(listener);
}

void cEventPump::start()
{
    if (mThread.joinable()) {
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mStopping = false;
    }
    mThread = std::thread(&cEventPump::run, this);
}

void cEventPump::stop()
{
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mStopping = true;
        mQueue.clear();
        mQueuedBytes = 0;
    }
    mChanged.notify_all();
    if (mThread.joinable()) {
        mThread.join();
    }
}

bool cEventPump::push(std::unique_ptr<cObjectList> list, size_t bytes, uint64_t connection)
{
    std::unique_lock<std::mutex> lock(mMutex);
    mChanged.wait(lock, [this] { return mRefused || mStopping || mQueuedBytes <= kMaxQueuedBytes; });
    if (mRefused || mStopping) {
        return false;
    }
    enqueue({std::move(list), bytes, connection});
    lock.unlock();
    mChanged.notify_all();
    return true;
}

void cEventPump::add(std::unique_ptr<cObjectList> list, size_t bytes, uint64_t connection)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    enqueue({std::move(list), bytes, connection});
}

std::unique_ptr<cObjectList> cEventPump::spareList()
{
    std::unique_ptr<cObjectList> spare(mSpare.exchange(nullptr));
    return spare ? std::move(spare) : std::make_unique<cObjectList>();
}

void cEventPump::refuse(bool refused)
{
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mRefused = refused;
    }
    mChanged.notify_all();
}

void cEventPump::hold(bool held)
{
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        if (mHeld == held) {
            return;
        }
        mHeld = held;
    }
    mChanged.notify_all();
}

bool cEventPump::delivering(uint8_t type, Delivery* delivery) const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    if (!mDelivering || mDelivery.type != type) {
        return false;
    }
    *delivery = mDelivery;
    return true;
}

void cEventPump::run()
{
    std::unique_lock<std::mutex> lock(mMutex);
    for (;;) {
        mChanged.wait(lock, [this] { return mStopping || mayDeliver(); });
        if (mStopping) {
            return;
        }
        take();
        lock.unlock();
        // Whoever waits for room.
        mChanged.notify_all();
        deliver();
        lock.lock();
        mDelivering = false;
    }
}

void cEventPump::deliverQueued()
{
    std::unique_lock<std::mutex> lock(mMutex);
    while (!mDelivering && mayDeliver()) {
        take();
        lock.unlock();
        deliver();
        lock.lock();
        mDelivering = false;
    }
}

/// No lock is held: a listener may wait for the thread that adds one.
void cEventPump::deliver()
{
    for (cObjectListener* listener : mCalled) {
        listener->handleObjectAction(mItem.list.get());
    }
    if (mItem.bytes <= kMaxSpareBytes && mItem.list->size() <= kMaxSpareRecords) {
        delete mSpare.exchange(mItem.list.release());
    }
    mItem.list.reset();
}

/// The caller holds mMutex.
void cEventPump::enqueue(Item item)
{
    mQueuedBytes += item.bytes;
    mQueue.push_back(std::move(item));
}

/// The caller holds mMutex.
void cEventPump::take()
{
    mItem = std::move(mQueue.front());
    mQueue.pop_front();
    mQueuedBytes -= mItem.bytes;
    mDelivery = {mItem.list->getMsgType(), mItem.list->getMsgSeq(), mItem.connection};
    mDelivering = true;
    mCalled = mListeners;
}

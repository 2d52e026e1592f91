#include "zulobj/eventpump.h"

#include <utility>

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
    mQueue.push_back({std::move(list), bytes, connection});
    mQueuedBytes += bytes;
    lock.unlock();
    mChanged.notify_all();
    return true;
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
    Item item{};
    std::vector<cObjectListener*> listeners;
    while (takeNext(&item, &listeners)) {
        // No lock is held: a listener may wait for the thread that adds one.
        for (cObjectListener* listener : listeners) {
            listener->handleObjectAction(item.list.get());
        }
    }
}

bool cEventPump::takeNext(Item* item, std::vector<cObjectListener*>* listeners)
{
    std::unique_lock<std::mutex> lock(mMutex);
    mDelivering = false;
    mChanged.wait(lock, [this] { return mStopping || (!mHeld && !mQueue.empty()); });
    if (mStopping) {
        return false;
    }
    *item = std::move(mQueue.front());
    mQueue.pop_front();
    mQueuedBytes -= item->bytes;
    mDelivery = {item->list->getMsgType(), item->list->getMsgSeq(), item->connection};
    mDelivering = true;
    *listeners = mListeners;
    lock.unlock();
    mChanged.notify_all();
    return true;
}

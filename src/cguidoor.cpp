#include "cguidoor.h"

#include <QThread>

cGuiDoor::cGuiDoor() : mBellRings(mBell.fd(), QSocketNotifier::Read)
{
    connect(&mBellRings, &QSocketNotifier::activated, this, &cGuiDoor::admit);
}

bool cGuiDoor::run(const std::function<void()>& call)
{
    std::unique_lock<std::mutex> lock(mMutex);
    if (mClosed) {
        return false;
    }
    if (QThread::currentThread() == thread()) {
        lock.unlock();
        call();
        return true;
    }
    Visitor visitor{&call};
    mVisitors.push_back(&visitor);
    mBell.wake();
    mChanged.wait(lock, [&visitor] { return visitor.state != eState::WAITING; });
    return visitor.state == eState::DONE;
}

void cGuiDoor::close()
{
    // From now on nothing of the door is tied to the GUI thread, and the last one to hold it may be another.
    mBellRings.setEnabled(false);
    const std::lock_guard<std::mutex> lock(mMutex);
    mClosed = true;
    for (Visitor* visitor : mVisitors) {
        visitor->state = eState::TURNED_AWAY;
    }
    mVisitors.clear();
    mChanged.notify_all();
}

void cGuiDoor::admit()
{
    std::unique_lock<std::mutex> lock(mMutex);
    mBell.reset();
    // Those who come meanwhile wait for the next turn, so that the window gets its own turns between.
    for (size_t present = mVisitors.size(); present > 0 && !mVisitors.empty(); --present) {
        Visitor* visitor = mVisitors.front();
        mVisitors.pop_front();
        lock.unlock();
        (*visitor->call)();
        lock.lock();
        visitor->state = eState::DONE;
        mChanged.notify_all();
    }
}

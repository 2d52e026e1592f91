#include "cguidoor.h"

#include <QElapsedTimer>
#include <QThread>
#include <utility>

cGuiDoor::cGuiDoor() : mBellRings(mBell.fd(), QSocketNotifier::Read)
{
    connect(&mBellRings, &QSocketNotifier::activated, this, &cGuiDoor::admit);
}

bool cGuiDoor::run(const std::function<void()>& call)
{
    if (QThread::currentThread() == thread()) {
        // Nobody but this thread closes the door.
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
    eState state = eState::WAITING;
    enter({std::cref(call), &state});
    mDone.wait(lock, [&state] { return state != eState::WAITING; });
    return state == eState::DONE;
}

bool cGuiDoor::post(std::function<void()> call)
{
    if (QThread::currentThread() == thread()) {
        return run(call);
    }
    std::unique_lock<std::mutex> lock(mMutex);
    mRoom.wait(lock, [this] { return !mFull || mClosed; });
    if (mClosed) {
        return false;
    }
    mFull = ++mLeft == kMostLeft;
    enter({std::move(call), nullptr});
    return true;
}

void cGuiDoor::close()
{
    // From now on nothing of the door is tied to the GUI thread, and the last one to hold it may be another.
    mBellRings.setEnabled(false);
    const std::lock_guard<std::mutex> lock(mMutex);
    mClosed = true;
    for (const Visit& visit : mVisits) {
        if (visit.state != nullptr) {
            *visit.state = eState::TURNED_AWAY;
        }
    }
    mVisits.clear();
    mDone.notify_all();
    mRoom.notify_all();
}

void cGuiDoor::admit()
{
    QElapsedTimer turn;
    turn.start();
    std::unique_lock<std::mutex> lock(mMutex);
    mBell.reset();
    mRung = false;
    while (!mVisits.empty()) {
        if (turn.hasExpired(kTurn)) {
            ring();
            return;
        }
        const Visit visit = takeFirst();
        lock.unlock();
        visit.call();
        lock.lock();
        if (visit.state != nullptr) {
            *visit.state = eState::DONE;
            mDone.notify_all();
        }
    }
}

void cGuiDoor::enter(Visit visit)
{
    mVisits.push_back(std::move(visit));
    ring();
}

cGuiDoor::Visit cGuiDoor::takeFirst()
{
    Visit visit = std::move(mVisits.front());
    mVisits.pop_front();
    mLeft -= visit.state == nullptr ? 1 : 0;
    // Those who wait for room go on all together: a thread switch for every call would cost more than the
    // calls.
    if (mFull && mLeft <= kMostLeft / 2) {
        mFull = false;
        mRoom.notify_all();
    }
    return visit;
}

/// Wakes the GUI thread once for all that come before its turn begins.
void cGuiDoor::ring()
{
    if (!mRung) {
        mRung = true;
        mBell.wake();
    }
}

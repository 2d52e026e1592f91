#include "cguidoor.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>

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
    QCoreApplication::postEvent(this, new QEvent(QEvent::User));
    mChanged.wait(lock, [&visitor] { return visitor.state != eState::WAITING; });
    return visitor.state == eState::DONE;
}

void cGuiDoor::close()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mClosed = true;
    for (Visitor* visitor : mVisitors) {
        visitor->state = eState::TURNED_AWAY;
    }
    mVisitors.clear();
    mChanged.notify_all();
}

void cGuiDoor::customEvent(QEvent*)
{
    std::unique_lock<std::mutex> lock(mMutex);
    if (mVisitors.empty()) {
        return;
    }
    Visitor* visitor = mVisitors.front();
    mVisitors.pop_front();
    lock.unlock();
    (*visitor->call)();
    lock.lock();
    visitor->state = eState::DONE;
    mChanged.notify_all();
}

#ifndef CGUIDOOR_H
#define CGUIDOOR_H

#include <QObject>
#include <QSocketNotifier>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

#include "zulobj/wakeup.h"

/// The one way by which other threads reach what belongs to the GUI thread.
///
/// It is made and closed on the GUI thread; once closed, any thread may destroy it, but none while another is
/// inside run(). What it leads to may go before: the owner closes the door first.
class cGuiDoor : public QObject
{
public:
    cGuiDoor();

    /// Runs @p call on the GUI thread and returns when it is done: at once when called on that thread, else
    /// as soon as the GUI thread handles events, in the order in which threads came. False when the door is
    /// closed: then @p call has not run and never will.
    bool run(const std::function<void()>& call);

    /// Turns every later caller away and releases those who wait. GUI thread only.
    void close();

private:
    void admit();

    enum class eState
    {
        WAITING,
        DONE,
        TURNED_AWAY
    };

    struct Visitor
    {
        const std::function<void()>* call;
        eState state = eState::WAITING;
    };

    // A descriptor wakes the GUI thread: Qt's own queue of events would do, but what passes through it is
    // invisible to the race checker.
    cWakeup mBell;
    QSocketNotifier mBellRings;

    std::mutex mMutex;
    std::condition_variable mChanged;

    // Guarded by mMutex. The visitors live on the stacks of the threads that wait.
    std::deque<Visitor*> mVisitors;
    bool mClosed = false;
};

#endif

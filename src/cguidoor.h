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

    /// Leaves @p call behind for the GUI thread, where it runs in its place among all that came to the door,
    /// and returns without waiting for that, unless kMostLeft calls lie there: then it waits until half of
    /// them have run. On the GUI thread it runs at once. False when the door is closed: then @p call never
    /// runs, nor does one that is left when the door is closed later.
    bool post(std::function<void()> call);

    /// Turns every later caller away and releases those who wait. GUI thread only.
    void close();

    /// How many calls may lie at the door while nobody waits for them.
    static constexpr size_t kMostLeft = 256;

    /// After so long the window gets its turn, in milliseconds.
    static constexpr int kTurn = 5;

private:
    void admit();

    enum class eState
    {
        WAITING,
        DONE,
        TURNED_AWAY
    };

    struct Visit
    {
        std::function<void()> call;
        eState* state; // on the stack of the thread that waits; null where none does
    };

    void enter(Visit visit);
    Visit takeFirst();
    void ring();

    // A descriptor wakes the GUI thread: Qt's own queue of events would do, but what passes through it is
    // invisible to the race checker.
    cWakeup mBell;
    QSocketNotifier mBellRings;

    std::mutex mMutex;
    std::condition_variable mDone;
    std::condition_variable mRoom;

    // Guarded by mMutex.
    std::deque<Visit> mVisits;
    size_t mLeft = 0; // of the visits, those for which nobody waits
    bool mFull = false;
    bool mRung = false;
    bool mClosed = false; ///< changed by the GUI thread only, which may look without the lock
};

#endif

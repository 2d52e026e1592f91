#ifndef CGUIDOOR_H
#define CGUIDOOR_H

#include <QObject>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

/// The one way by which other threads reach what belongs to the GUI thread.
///
/// It lives on the GUI thread and outlives every thread that may be inside run().
class cGuiDoor : public QObject
{
public:
    /// Runs @p call on the GUI thread and returns when it is done: at once when called on that thread, else
    /// as soon as the GUI thread handles events, in the order in which threads came. False when the door is
    /// closed: then @p call has not run and never will.
    bool run(const std::function<void()>& call);

    /// Turns every later caller away and releases those who wait. GUI thread only.
    void close();

protected:
    void customEvent(QEvent* event) override;

private:
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

    std::mutex mMutex;
    std::condition_variable mChanged;

    // Guarded by mMutex. The visitors live on the stacks of the threads that wait.
    std::deque<Visitor*> mVisitors;
    bool mClosed = false;
};

#endif

#include "crepaintthrottle.h"

#include <QCoreApplication>
#include <QEvent>
#include <QWidget>
#include <algorithm>

cRepaintThrottle::cRepaintThrottle(QWidget* window, int rest)
    : QObject(window), mWindow(window), mLeastRest(rest), mRest(rest)
{
    mNextFrame.setSingleShot(true);
    mNextFrame.setTimerType(Qt::PreciseTimer);
    connect(&mNextFrame, &QTimer::timeout, this, &cRepaintThrottle::paint);
    window->installEventFilter(this);
}

/// Qt asks a window once for all its changes, and not again before the window has painted.
bool cRepaintThrottle::eventFilter(QObject*, QEvent* event)
{
    if (event->type() != QEvent::UpdateRequest || mPainting) {
        return false;
    }
    if (mNextFrame.isActive()) {
        return true;
    }
    const qint64 rest = mLastFrame.isValid() ? mRest - mLastFrame.elapsed() : 0;
    if (rest > 0) {
        mNextFrame.start(static_cast<int>(rest));
    } else {
        paint();
    }
    return true;
}

int cRepaintThrottle::restAfter(qint64 frame)
{
    const qint64 rest = frame * (kParts - 1) / 1000000;
    return static_cast<int>(std::clamp<qint64>(rest, kMinIntervalMs, kLongestRest));
}

void cRepaintThrottle::paint()
{
    QElapsedTimer frame;
    frame.start();
    mPainting = true;
    QEvent request(QEvent::UpdateRequest);
    QCoreApplication::sendEvent(mWindow, &request);
    mPainting = false;
    mRest = std::max(mLeastRest, restAfter(frame.nsecsElapsed()));
    mLastFrame.start();
}

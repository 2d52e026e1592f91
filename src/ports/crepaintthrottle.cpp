#include "crepaintthrottle.h"

#include <QCoreApplication>
#include <QEvent>
#include <QWidget>
#include <algorithm>

cRepaintThrottle::cRepaintThrottle(QWidget* window, int minIntervalMs)
    : QObject(window), mWindow(window), mMinIntervalMs(minIntervalMs), mIntervalMs(minIntervalMs)
{
    mNextPaint.setSingleShot(true);
    mNextPaint.setTimerType(Qt::PreciseTimer);
    connect(&mNextPaint, &QTimer::timeout, this, &cRepaintThrottle::paint);
    window->installEventFilter(this);
}

/// Qt sends a window one request for all its changes, and the next one only after a paint.
bool cRepaintThrottle::eventFilter(QObject*, QEvent* event)
{
    if (event->type() != QEvent::UpdateRequest || mPainting) {
        return false;
    }
    if (mNextPaint.isActive()) {
        return true;
    }
    const qint64 left = mLastPaint.isValid() ? mIntervalMs - mLastPaint.elapsed() : 0;
    if (left > 0) {
        mNextPaint.start(static_cast<int>(left));
    } else {
        paint();
    }
    return true;
}

int cRepaintThrottle::intervalMsAfter(qint64 paintNs)
{
    const qint64 interval = paintNs * (kIntervalFactor - 1) / 1000000;
    return static_cast<int>(std::clamp<qint64>(interval, kMinIntervalMs, kMaxIntervalMs));
}

void cRepaintThrottle::paint()
{
    QElapsedTimer duration;
    duration.start();
    mPainting = true;
    QEvent request(QEvent::UpdateRequest);
    QCoreApplication::sendEvent(mWindow, &request);
    mPainting = false;
    mIntervalMs = std::max(mMinIntervalMs, intervalMsAfter(duration.nsecsElapsed()));
    mLastPaint.start();
}

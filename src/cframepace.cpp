#include "cframepace.h"

#include <QCoreApplication>
#include <QEvent>
#include <QWidget>

cFramePace::cFramePace(QWidget* window, int rest) : QObject(window), mWindow(window), mRest(rest)
{
    mNextFrame.setSingleShot(true);
    mNextFrame.setTimerType(Qt::PreciseTimer);
    connect(&mNextFrame, &QTimer::timeout, this, &cFramePace::paint);
    window->installEventFilter(this);
}

/// Qt asks a window once for all its changes, and not again before the window has painted.
bool cFramePace::eventFilter(QObject*, QEvent* event)
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

void cFramePace::paint()
{
    mPainting = true;
    QEvent request(QEvent::UpdateRequest);
    QCoreApplication::sendEvent(mWindow, &request);
    mPainting = false;
    mLastFrame.start();
}

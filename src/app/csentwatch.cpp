#include "csentwatch.h"

#include "mainwindow.h"

#include <QApplication>

cSentWatch::cSentWatch(MainWindow& window) : mWindow(window)
{
    QObject::connect(&mCheck, &QTimer::timeout, [this] { look(); });
}

void cSentWatch::endWith(int status, qint64 maxMs)
{
    mStatus = status;
    mDeadline.setRemainingTime(maxMs);
    mCheck.start(kCheckIntervalMs);
    look();
}

void cSentWatch::look()
{
    // The device may be gone: the end of a script is also told while the program stops.
    const cDevice* device = mWindow.device();
    const sLinkState link = device != nullptr ? device->linkState() : sLinkState();
    if (mDeadline.hasExpired() || link.state == sLinkState::OFF || link.waiting == 0) {
        mCheck.stop();
        QApplication::exit(mStatus);
    }
}

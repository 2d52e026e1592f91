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

void cSentWatch::endWhenRead(int status)
{
    mAwaitsReading = true;
    endWith(status, -1);
}

void cSentWatch::look()
{
    // The device may be gone: the end of a script is also told while the program stops.
    cDevice* device = mWindow.device();
    const sLinkState link = device != nullptr ? device->linkState() : sLinkState();
    const bool isSent = link.state == sLinkState::OFF || link.waiting == 0;
    const bool isRead = !mAwaitsReading || link.state != sLinkState::UP;
    if (device != nullptr && isSent && !isRead) {
        device->finishLink();
    }
    if ((isSent && isRead) || mDeadline.hasExpired()) {
        mCheck.stop();
        QApplication::exit(mStatus);
    }
}

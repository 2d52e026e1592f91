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
    const cDevice* device = mWindow.device();
    const sLinkState link = device != nullptr ? device->linkState() : sLinkState();
    // A program that ends while the server still asks takes back what the server has not read.
    if (mAwaitsReading && !mEndedWriting && link.state == sLinkState::UP && link.waiting == 0) {
        mEndedWriting = true;
        mDeadline.setRemainingTime(kMaxReadMs);
        mWindow.device()->endWriting();
        return;
    }
    const bool isOver =
        mEndedWriting ? link.state != sLinkState::UP : link.state == sLinkState::OFF || link.waiting == 0;
    if (isOver || mDeadline.hasExpired()) {
        mCheck.stop();
        QApplication::exit(mStatus);
    }
}

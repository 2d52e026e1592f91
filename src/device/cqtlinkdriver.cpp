#include "cqtlinkdriver.h"

#include <QEvent>

#include "zulobj/objclient.h"

bool cQtLinkDriver::cReadable::event(QEvent* event)
{
    if (event->type() != QEvent::SockAct) {
        return QSocketNotifier::event(event);
    }
    mDriver->process(*this);
    return true;
}

cQtLinkDriver::cQtLinkDriver(cObjectClient* client) : mClient(client), mWakeupReadable(mWakeup.fd(), this)
{
    mClient->setDriver([this] { mWakeup.wake(); });
}

void cQtLinkDriver::stop()
{
    mWakeupReadable.setEnabled(false);
    watch(-1);
}

void cQtLinkDriver::process(const QSocketNotifier& readable)
{
    if (&readable == &mWakeupReadable) {
        mWakeup.reset();
    }
    const int fd = mClient->processIo();
    if (fd != (mSocketReadable ? mSocketReadable->socket() : -1)) {
        watch(fd);
    }
}

void cQtLinkDriver::watch(int fd)
{
    if (mSocketReadable) {
        mSocketReadable->setEnabled(false);
        // Deleted later, as its event() may be the caller.
        mSocketReadable.release()->deleteLater();
    }
    if (fd >= 0) {
        mSocketReadable = std::make_unique<cReadable>(fd, this);
    }
}

#include "clinkwatch.h"

#include <QEvent>

#include "zulobj/objclient.h"

bool cLinkWatch::cReadable::event(QEvent* event)
{
    if (event->type() != QEvent::SockAct) {
        return QSocketNotifier::event(event);
    }
    mWatch->serve(*this);
    return true;
}

cLinkWatch::cLinkWatch(cObjectClient* client) : mClient(client), mBellRings(mBell.fd(), this) {}

void cLinkWatch::stop()
{
    mBellRings.setEnabled(false);
    watch(-1);
}

void cLinkWatch::serve(const QSocketNotifier& reason)
{
    if (&reason == &mBellRings) {
        mBell.reset();
    }
    const int fd = mClient->serve();
    if (fd != (mReadable ? mReadable->socket() : -1)) {
        watch(fd);
    }
}

void cLinkWatch::watch(int fd)
{
    if (mReadable) {
        mReadable->setEnabled(false);
        // It may be the one that brought us here.
        mReadable.release()->deleteLater();
    }
    if (fd >= 0) {
        mReadable = std::make_unique<cReadable>(fd, this);
    }
}

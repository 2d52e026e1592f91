#include "clinkwatch.h"

#include "zulobj/objclient.h"

cLinkWatch::cLinkWatch(cObjectClient* client)
    : mClient(client), mBellRings(mBell.fd(), QSocketNotifier::Read)
{
    connect(&mBellRings, &QSocketNotifier::activated, this, &cLinkWatch::answerBell);
}

void cLinkWatch::stop()
{
    mBellRings.setEnabled(false);
    watch(-1);
}

void cLinkWatch::answerBell()
{
    mBell.reset();
    serve();
}

void cLinkWatch::serve()
{
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
        mReadable = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read);
        connect(mReadable.get(), &QSocketNotifier::activated, this, &cLinkWatch::serve);
    }
}

#include "signalwatcher.h"

#include <QSocketNotifier>
#include <csignal>
#include <sys/signalfd.h>
#include <unistd.h>

namespace {

sigset_t watchedSignals()
{
    sigset_t signalSet;
    sigemptyset(&signalSet);
    sigaddset(&signalSet, SIGINT);
    sigaddset(&signalSet, SIGTERM);
    return signalSet;
}

void mask(int how)
{
    const sigset_t signalSet = watchedSignals();
    pthread_sigmask(how, &signalSet, nullptr);
}

int openDescriptor()
{
    const sigset_t signalSet = watchedSignals();
    return signalfd(-1, &signalSet, SFD_CLOEXEC | SFD_NONBLOCK);
}

} // namespace

void cSignalWatcher::block() { mask(SIG_BLOCK); }

cSignalWatcher::cSignalWatcher(QObject* parent) : QObject(parent), mDescriptor(openDescriptor())
{
    if (mDescriptor < 0) {
        mask(SIG_UNBLOCK);
        return;
    }
    mNotifier = new QSocketNotifier(mDescriptor, QSocketNotifier::Read, this);
    connect(mNotifier, &QSocketNotifier::activated, this, &cSignalWatcher::readSignal);
}

cSignalWatcher::~cSignalWatcher()
{
    // Before the descriptor that it watches.
    delete mNotifier;
    if (mDescriptor >= 0) {
        close(mDescriptor);
    }
}

void cSignalWatcher::readSignal()
{
    signalfd_siginfo info{};
    if (read(mDescriptor, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
        emit arrived(static_cast<int>(info.ssi_signo));
    }
}

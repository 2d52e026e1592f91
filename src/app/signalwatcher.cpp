#include "signalwatcher.h"

#include <csignal>
#include <sys/signalfd.h>
#include <unistd.h>
#include <utility>

namespace {

const sigset_t& watchedSignals()
{
    static const sigset_t signalSet = [] {
        sigset_t watched;
        sigemptyset(&watched);
        sigaddset(&watched, SIGINT);
        sigaddset(&watched, SIGTERM);
        return watched;
    }();
    return signalSet;
}

} // namespace

void cSignalWatcher::block() { pthread_sigmask(SIG_BLOCK, &watchedSignals(), nullptr); }

cSignalWatcher::cSignalWatcher(std::function<void(int)> arrived)
    : mArrived(std::move(arrived)),
      mDescriptor(signalfd(-1, &watchedSignals(), SFD_CLOEXEC | SFD_NONBLOCK)),
      mNotifier(mDescriptor, QSocketNotifier::Read)
{
    if (mDescriptor < 0) {
        pthread_sigmask(SIG_UNBLOCK, &watchedSignals(), nullptr);
    }
    QObject::connect(&mNotifier, &QSocketNotifier::activated, [this] { readSignal(); });
}

cSignalWatcher::~cSignalWatcher()
{
    mNotifier.setEnabled(false);
    close(mDescriptor);
}

void cSignalWatcher::readSignal() const
{
    signalfd_siginfo info{};
    if (read(mDescriptor, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
        mArrived(static_cast<int>(info.ssi_signo));
    }
}

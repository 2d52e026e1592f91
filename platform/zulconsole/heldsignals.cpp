#include "zulconsole/heldsignals.h"

#include <unistd.h>

namespace zulconsole {

HeldSignals::HeldSignals(std::initializer_list<int> signals)
{
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : signals) {
        sigaddset(&held, signal);
    }
    ::pthread_sigmask(SIG_BLOCK, &held, &mFormer);
    mFd = ::signalfd(-1, &held, SFD_CLOEXEC | SFD_NONBLOCK);
}

HeldSignals::~HeldSignals()
{
    ::close(mFd);
    ::pthread_sigmask(SIG_SETMASK, &mFormer, nullptr);
}

std::optional<signalfd_siginfo> HeldSignals::take()
{
    signalfd_siginfo signal{};
    return ::read(mFd, &signal, sizeof signal) == sizeof signal ? std::make_optional(signal) : std::nullopt;
}

} // namespace zulconsole

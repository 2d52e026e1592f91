#pragma once

#include <csignal>
#include <initializer_list>
#include <optional>
#include <sys/signalfd.h>

namespace zulconsole {

/// Keeps signals from interrupting the program, and tells which ones have come.
class HeldSignals
{
public:
    /// Blocks @p signals for the calling thread, and those that it starts, until the destructor. What has
    /// come by then and was not taken is delivered.
    explicit HeldSignals(std::initializer_list<int> signals);
    ~HeldSignals();
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

    /// Readable once a signal has come; for poll(2) only.
    int fd() const { return mFd; }

    /// Takes the next signal that has come; nothing if there is none.
    std::optional<signalfd_siginfo> take();

    /// The signals that were blocked before.
    const sigset_t& former() const { return mFormer; }

private:
    sigset_t mFormer{};
    int mFd = -1;
};

} // namespace zulconsole

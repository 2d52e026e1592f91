#pragma once

#include <sys/eventfd.h>
#include <unistd.h>

/// Ends a poll(2) of another thread: its descriptor is readable from wake() until reset().
class cWakeup
{
public:
    cWakeup() : mFd(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}
    ~cWakeup()
    {
        if (mFd >= 0) {
            close(mFd);
        }
    }
    cWakeup(const cWakeup&) = delete;
    cWakeup& operator=(const cWakeup&) = delete;

    int fd() const { return mFd; }
    void wake()
    {
        // Again if it fails: a wake-up must not be lost.
        if (eventfd_write(mFd, 1) != 0) {
            static_cast<void>(eventfd_write(mFd, 1));
        }
    }
    void reset()
    {
        // An undrained eventfd makes every poll() return. If there is nothing to read, both calls fail.
        eventfd_t value = 0;
        if (eventfd_read(mFd, &value) != 0) {
            static_cast<void>(eventfd_read(mFd, &value));
        }
    }

private:
    int mFd;
};

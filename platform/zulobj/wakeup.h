#ifndef ZULOBJ_WAKEUP_H
#define ZULOBJ_WAKEUP_H

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
    void wake() { static_cast<void>(eventfd_write(mFd, 1)); }
    void reset()
    {
        eventfd_t value = 0;
        static_cast<void>(eventfd_read(mFd, &value));
    }

private:
    int mFd;
};

#endif

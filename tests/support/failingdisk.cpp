#include "failingdisk.h"

#include <cerrno>
#include <cstdarg>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int kDone = 0;
constexpr int kCrashed = 1;

struct Plan
{
    bool armed = false;
    failingdisk::eFault fault = failingdisk::CRASH;
    int stepsLeft = 0;
    bool happened = false;
};

Plan plan;

template <class Function>
Function* next(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// True if this call is the one to go wrong.
bool isTheOne() { return plan.armed && !plan.happened && plan.stepsLeft-- == 0; }

/// What happens at the call: the end of the process, or a result of -1.
int goWrong()
{
    plan.happened = true;
    if (plan.fault == failingdisk::CRASH) {
        _exit(kCrashed);
    }
    errno = ENOSPC;
    return -1;
}

template <class Function, class... Arguments>
int passOn(const char* name, Arguments... arguments)
{
    return isTheOne() ? goWrong() : next<Function>(name)(arguments...);
}

int openFile(const char* name, const char* path, int flags, mode_t mode)
{
    using Open = int(const char*, int, mode_t);
    return (flags & O_ACCMODE) == O_RDONLY ? next<Open>(name)(path, flags, mode)
                                           : passOn<Open>(name, path, flags, mode);
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const int result = openFile("open", path, flags, va_arg(rest, mode_t));
    va_end(rest);
    return result;
}

int open64(const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const int result = openFile("open64", path, flags, va_arg(rest, mode_t));
    va_end(rest);
    return result;
}

ssize_t write(int descriptor, const void* bytes, size_t count)
{
    using Write = ssize_t(int, const void*, size_t);
    if (plan.happened) {
        errno = ENOSPC;
        return -1;
    }
    if (!isTheOne()) {
        return next<Write>("write")(descriptor, bytes, count);
    }
    const ssize_t half = next<Write>("write")(descriptor, bytes, count / 2);
    goWrong();
    return half;
}

int fsync(int descriptor) { return passOn<int(int)>("fsync", descriptor); }

int fdatasync(int descriptor) { return passOn<int(int)>("fdatasync", descriptor); }

int rename(const char* from, const char* to) noexcept
{
    return passOn<int(const char*, const char*)>("rename", from, to);
}

int unlink(const char* path) noexcept { return passOn<int(const char*)>("unlink", path); }
}

namespace failingdisk {

static bool doHere(eFault fault, int step, const std::function<void()>& work)
{
    plan = {true, fault, step, false};
    work();
    const bool ended = !plan.happened;
    plan = {};
    return ended;
}

bool doWith(eFault fault, int step, const std::function<void()>& work)
{
    if (fault != CRASH) {
        return doHere(fault, step, work);
    }
    const pid_t child = fork();
    if (child == 0) {
        doHere(fault, step, work);
        _exit(kDone);
    }
    int status = -1;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == kDone;
}

} // namespace failingdisk

#pragma once

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

/// A process that shares this program's code, and ends with it.
class ChildProcess
{
public:
    explicit ChildProcess(const std::function<void()>& body)
    {
        std::fflush(nullptr);
        mId = ::fork();
        if (mId == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            body();
            std::_Exit(0);
        }
    }
    ~ChildProcess() { end(); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t id() const { return mId; }

    /// Returns when the process has ended by itself.
    void join()
    {
        if (mId > 0) {
            ::waitpid(mId, nullptr, 0);
            mId = -1;
        }
    }

    void end()
    {
        if (mId > 0) {
            ::kill(mId, SIGKILL);
        }
        join();
    }

private:
    pid_t mId = -1;
};

/// One T that the processes forked from now on have in common.
template <class T>
class Shared
{
public:
    Shared()
    {
        void* memory = ::mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) {
            std::abort();
        }
        mValue = new (memory) T;
    }
    ~Shared() { ::munmap(mValue, sizeof(T)); }
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;

    T* operator->() const { return mValue; }
    T& operator*() const { return *mValue; }

private:
    T* mValue;
};

/// Binds this thread, and what it starts from now on, to the first or the last core that it may run on.
enum class eCore
{
    FIRST,
    LAST
};

inline void pinTo(eCore which)
{
    // What a fork inherited is no bound: the whole machine is looked at.
    const long cores = ::sysconf(_SC_NPROCESSORS_ONLN);
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(which == eCore::FIRST ? 0 : static_cast<size_t>(cores - 1), &set);
    if (::sched_setaffinity(0, sizeof set, &set) != 0) {
        std::perror("sched_setaffinity");
        std::exit(1);
    }
}

[[noreturn]] inline void fail(const char* what)
{
    std::fprintf(stderr, "%s\n", what);
    std::exit(1);
}

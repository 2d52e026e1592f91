#include "failingcalls.h"

#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <dlfcn.h>
#include <map>
#include <mutex>
#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace {

struct Plan
{
    std::mutex mutex;
    std::string function;
    int left = 0; ///< calls until the one that fails; 0 is none
    int error = 0;
    bool fired = false;

    struct Watched
    {
        int epoll;
        epoll_event event;
    };
    std::map<int, Watched> watched;
};

Plan& plan()
{
    // Calls are made until the very end of the process.
    static Plan* const instance = new Plan;
    return *instance;
}

std::atomic<bool>& armed()
{
    static std::atomic<bool> instance{false};
    return instance;
}

std::atomic<int64_t>& clockAdvance()
{
    static std::atomic<int64_t> instance{0};
    return instance;
}

std::atomic<uint16_t>& nameServerPort()
{
    static std::atomic<uint16_t> instance{0};
    return instance;
}

bool& exempt()
{
    static thread_local bool instance = false;
    return instance;
}

/// The function of this name that the library after this program has.
template <class Function>
Function* real(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

constexpr int kGoOn = 0;

/// kGoOn, or how this call is to fail; errno is set then.
int failureOf(const char* function)
{
    if (!armed() || exempt()) {
        return kGoOn;
    }
    Plan& all = plan();
    const std::lock_guard<std::mutex> lock(all.mutex);
    if (all.left == 0 || all.function != function || --all.left > 0) {
        return kGoOn;
    }
    all.fired = true;
    armed() = false;
    if (all.error > 0) {
        errno = all.error;
    }
    return all.error;
}

/// A descriptor that was said not to be ready is said to be ready later, as the kernel would.
void promiseReadiness(int fd)
{
    Plan::Watched watched{};
    {
        const std::lock_guard<std::mutex> lock(plan().mutex);
        const auto found = plan().watched.find(fd);
        if (found == plan().watched.end()) {
            return;
        }
        watched = found->second;
    }
    real<decltype(epoll_ctl)>("epoll_ctl")(watched.epoll, EPOLL_CTL_MOD, fd, &watched.event);
    errno = EAGAIN;
}

/// What a call that moves bytes does: all, a single byte, or nothing.
template <class Call>
ssize_t transfer(const char* function, int fd, size_t size, Call call)
{
    const int failure = failureOf(function);
    if (failure == kGoOn) {
        return call(size);
    }
    if (failure == FailingCalls::kShort) {
        return call(size > 0 ? 1 : 0);
    }
    if (failure == EAGAIN) {
        promiseReadiness(fd);
    }
    return -1;
}

/// Calls on, or fails; there is no short form of this call.
template <class Call>
int attempt(const char* function, Call call)
{
    const int failure = failureOf(function);
    return failure == kGoOn || failure == FailingCalls::kShort ? call() : -1;
}

} // namespace

void FailingCalls::arm(const std::string& function, int nth, int error)
{
    const std::lock_guard<std::mutex> lock(plan().mutex);
    plan().function = function;
    plan().left = nth;
    plan().error = error;
    plan().fired = false;
    armed() = true;
}

bool FailingCalls::disarm()
{
    armed() = false;
    const std::lock_guard<std::mutex> lock(plan().mutex);
    plan().left = 0;
    return plan().fired;
}

FailingCalls::Exempt::Exempt() : mBefore(exempt()) { exempt() = true; }
FailingCalls::Exempt::~Exempt() { exempt() = mBefore; }

void FailingCalls::advanceClock(int64_t milliseconds) { clockAdvance() += milliseconds; }

void FailingCalls::redirectNameServers(uint16_t port) { nameServerPort() = port; }

size_t FailingCalls::openDescriptors()
{
    size_t count = 0;
    DIR* const directory = opendir("/proc/self/fd");
    while (readdir(directory) != nullptr) {
        ++count;
    }
    closedir(directory);
    return count;
}

// The calls themselves.
extern "C" {

int socket(int domain, int type, int protocol)
{
    return attempt("socket", [&] { return real<decltype(socket)>("socket")(domain, type, protocol); });
}

int connect(int fd, const sockaddr* address, socklen_t size)
{
    sockaddr_in nameServer{};
    if (nameServerPort() != 0 && address->sa_family == AF_INET &&
        reinterpret_cast<const sockaddr_in*>(address)->sin_port == htons(53)) {
        nameServer.sin_family = AF_INET;
        nameServer.sin_port = htons(nameServerPort());
        nameServer.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address = reinterpret_cast<const sockaddr*>(&nameServer);
    }
    const int failure = failureOf("connect");
    if (failure == kGoOn || failure == FailingCalls::kShort) {
        return real<decltype(connect)>("connect")(fd, address, size);
    }
    if (failure == EINTR) {
        // An attempt that a signal interrupts goes on by itself (connect(2)).
        real<decltype(connect)>("connect")(fd, address, size);
        errno = EINTR;
    }
    return -1;
}

int accept(int fd, sockaddr* __restrict address, socklen_t* __restrict size)
{
    const int failure = failureOf("accept");
    if (failure == kGoOn || failure == FailingCalls::kShort) {
        return real<decltype(accept)>("accept")(fd, address, size);
    }
    if (failure == EAGAIN) {
        promiseReadiness(fd);
    }
    return -1;
}

int bind(int fd, const sockaddr* address, socklen_t size)
{
    return attempt("bind", [&] { return real<decltype(bind)>("bind")(fd, address, size); });
}

int listen(int fd, int backlog)
{
    return attempt("listen", [&] { return real<decltype(listen)>("listen")(fd, backlog); });
}

int shutdown(int fd, int how)
{
    return attempt("shutdown", [&] { return real<decltype(shutdown)>("shutdown")(fd, how); });
}

int close(int fd)
{
    {
        const std::lock_guard<std::mutex> lock(plan().mutex);
        plan().watched.erase(fd);
    }
    // The descriptor is gone whatever close() says (close(2)).
    const int result = real<decltype(close)>("close")(fd);
    const int failure = failureOf("close");
    return failure == kGoOn || failure == FailingCalls::kShort ? result : -1;
}

int getsockopt(int fd, int level, int name, void* __restrict value, socklen_t* __restrict size)
{
    return attempt("getsockopt",
                   [&] { return real<decltype(getsockopt)>("getsockopt")(fd, level, name, value, size); });
}

int setsockopt(int fd, int level, int name, const void* value, socklen_t size)
{
    return attempt("setsockopt",
                   [&] { return real<decltype(setsockopt)>("setsockopt")(fd, level, name, value, size); });
}

int getsockname(int fd, sockaddr* __restrict address, socklen_t* __restrict size)
{
    return attempt("getsockname",
                   [&] { return real<decltype(getsockname)>("getsockname")(fd, address, size); });
}

int getpeername(int fd, sockaddr* __restrict address, socklen_t* __restrict size)
{
    return attempt("getpeername",
                   [&] { return real<decltype(getpeername)>("getpeername")(fd, address, size); });
}

ssize_t recv(int fd, void* data, size_t size, int flags)
{
    return transfer("recv", fd, size,
                    [&](size_t part) { return real<decltype(recv)>("recv")(fd, data, part, flags); });
}

ssize_t recvfrom(int fd, void* __restrict data, size_t size, int flags, sockaddr* __restrict address,
                 socklen_t* __restrict addressSize)
{
    return transfer("recvfrom", fd, size, [&](size_t part) {
        return real<decltype(recvfrom)>("recvfrom")(fd, data, part, flags, address, addressSize);
    });
}

ssize_t send(int fd, const void* data, size_t size, int flags)
{
    return transfer("send", fd, size,
                    [&](size_t part) { return real<decltype(send)>("send")(fd, data, part, flags); });
}

ssize_t read(int fd, void* data, size_t size)
{
    return transfer("read", fd, size,
                    [&](size_t part) { return real<decltype(read)>("read")(fd, data, part); });
}

ssize_t write(int fd, const void* data, size_t size)
{
    return transfer("write", fd, size,
                    [&](size_t part) { return real<decltype(write)>("write")(fd, data, part); });
}

int ioctl(int fd, unsigned long request, ...) noexcept
{
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    return attempt("ioctl", [&] { return real<decltype(ioctl)>("ioctl")(fd, request, argument); });
}

int poll(pollfd* entries, nfds_t count, int timeout)
{
    return attempt("poll", [&] { return real<decltype(poll)>("poll")(entries, count, timeout); });
}

int epoll_create1(int flags)
{
    return attempt("epoll_create1", [&] { return real<decltype(epoll_create1)>("epoll_create1")(flags); });
}

int epoll_wait(int fd, epoll_event* events, int most, int timeout)
{
    return attempt("epoll_wait",
                   [&] { return real<decltype(epoll_wait)>("epoll_wait")(fd, events, most, timeout); });
}

int epoll_ctl(int epoll, int operation, int fd, epoll_event* event) noexcept
{
    const int result = attempt(
        "epoll_ctl", [&] { return real<decltype(epoll_ctl)>("epoll_ctl")(epoll, operation, fd, event); });
    if (result == 0 && operation != EPOLL_CTL_DEL) {
        const std::lock_guard<std::mutex> lock(plan().mutex);
        plan().watched[fd] = {epoll, *event};
    }
    return result;
}

int eventfd(unsigned int value, int flags) noexcept
{
    return attempt("eventfd", [&] { return real<decltype(eventfd)>("eventfd")(value, flags); });
}

int eventfd_read(int fd, eventfd_t* value)
{
    return attempt("eventfd_read", [&] { return real<decltype(eventfd_read)>("eventfd_read")(fd, value); });
}

int eventfd_write(int fd, eventfd_t value)
{
    return attempt("eventfd_write",
                   [&] { return real<decltype(eventfd_write)>("eventfd_write")(fd, value); });
}

int timerfd_create(clockid_t clock, int flags) noexcept
{
    return attempt("timerfd_create",
                   [&] { return real<decltype(timerfd_create)>("timerfd_create")(clock, flags); });
}

int timerfd_settime(int fd, int flags, const itimerspec* time, itimerspec* before) noexcept
{
    return attempt("timerfd_settime", [&] {
        return real<decltype(timerfd_settime)>("timerfd_settime")(fd, flags, time, before);
    });
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                   void* argument) noexcept
{
    const int failure = failureOf("pthread_create");
    return failure != 0
               ? failure
               : real<decltype(pthread_create)>("pthread_create")(thread, attributes, body, argument);
}

int dup(int fd) noexcept
{
    return attempt("dup", [&] { return real<decltype(dup)>("dup")(fd); });
}

int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    const int result = real<decltype(clock_gettime)>("clock_gettime")(clock, time);
    if (clock == CLOCK_MONOTONIC && result == 0) {
        time->tv_sec += clockAdvance() / 1000;
    }
    return result;
}

FILE* fopen(const char* __restrict path, const char* __restrict mode)
{
    FILE* (*const open)(const char*, const char*) = real<FILE*(const char*, const char*)>("fopen");
    if (nameServerPort() != 0 && std::strcmp(path, "/etc/resolv.conf") == 0) {
        // Without that file the name server is 127.0.0.1.
        return open("/dev/null", mode);
    }
    return open(path, mode);
}

} // extern "C"

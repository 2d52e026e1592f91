#include "failingthreads.h"

#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <pthread.h>

namespace {

std::atomic<bool>& refusal()
{
    static std::atomic<bool> instance{false};
    return instance;
}

} // namespace

void FailingThreads::refuseNext() { refusal() = true; }

bool FailingThreads::hasRefused() { return !refusal(); }

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                              void* argument)
{
    if (refusal().exchange(false)) {
        return EAGAIN;
    }
    return reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"))(thread, attributes,
                                                                                           start, argument);
}

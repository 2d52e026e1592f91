#include "heapmeter.h"

#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>

namespace {

std::atomic<size_t>& live()
{
    static std::atomic<size_t> bytes{0};
    return bytes;
}

std::atomic<size_t>& most()
{
    static std::atomic<size_t> bytes{0};
    return bytes;
}

std::atomic<size_t>& calls()
{
    static std::atomic<size_t> count{0};
    return count;
}

void* take(size_t size)
{
    ++calls();
    void* const memory = std::malloc(size > 0 ? size : 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    const size_t now = live() += malloc_usable_size(memory);
    size_t before = most();
    while (now > before && !most().compare_exchange_weak(before, now)) {
    }
    return memory;
}

void giveBack(void* memory)
{
    if (memory != nullptr) {
        live() -= malloc_usable_size(memory);
        std::free(memory);
    }
}

} // namespace

HeapMeter::HeapMeter() : mBefore(live()), mTakenBefore(calls()) { most() = mBefore; }
size_t HeapMeter::peak() const { return most() - mBefore; }
size_t HeapMeter::now() const { return live() > mBefore ? live() - mBefore : 0; }

size_t HeapMeter::taken() const { return calls() - mTakenBefore; }

void* operator new(size_t size) { return take(size); }
void* operator new[](size_t size) { return take(size); }
void operator delete(void* memory) noexcept { giveBack(memory); }
void operator delete[](void* memory) noexcept { giveBack(memory); }
void operator delete(void* memory, size_t) noexcept { giveBack(memory); }
void operator delete[](void* memory, size_t) noexcept { giveBack(memory); }

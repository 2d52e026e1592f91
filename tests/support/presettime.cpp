// Loaded before the C library: time() gives what the file of ZUL_PRESET_TIME says.

#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "presettime.h"

namespace {

sPresetTime* mapped()
{
    const char* path = std::getenv("ZUL_PRESET_TIME");
    const int fd = path == nullptr ? -1 : ::open(path, O_RDWR | O_CLOEXEC);
    void* memory =
        fd < 0 ? MAP_FAILED : ::mmap(nullptr, sizeof(sPresetTime), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    ::close(fd);
    return memory == MAP_FAILED ? nullptr : static_cast<sPresetTime*>(memory);
}

} // namespace

extern "C" time_t time(time_t* result) noexcept
{
    static sPresetTime* const preset = mapped();
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    const time_t value = preset == nullptr ? now.tv_sec : static_cast<time_t>(preset->now.load());
    if (preset != nullptr) {
        preset->told.store(value);
    }
    if (result != nullptr) {
        *result = value;
    }
    return value;
}

#include "zuloptions/programstart.h"

#include <fcntl.h>
#include <limits>
#include <sys/resource.h>
#include <unistd.h>

namespace zuloptions {

void fillStandardStreams()
{
    int opened = 0;
    while (opened >= 0 && opened <= 2) {
        opened = ::open("/dev/null", O_RDONLY);
    }
    ::close(opened);
}

uint64_t raiseDescriptorLimit()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return std::numeric_limits<uint64_t>::max();
    }
    rlimit raised = limit;
    raised.rlim_cur = raised.rlim_max;
    return ::setrlimit(RLIMIT_NOFILE, &raised) == 0 ? raised.rlim_cur : limit.rlim_cur;
}

} // namespace zuloptions

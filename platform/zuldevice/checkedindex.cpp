#include "zuldevice/checkedindex.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>

void zuldevice::endForIndex(int64_t index, const char* name, size_t size)
{
    std::fprintf(stderr, "Index %" PRId64 " is outside %s, which holds %zu\n", index, name, size);
    std::abort();
}

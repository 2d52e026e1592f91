#ifndef ZULOBJ_LINKCLOCK_H
#define ZULOBJ_LINKCLOCK_H

#include <chrono>
#include <cstdint>

/// The link's clock, in milliseconds: it never goes back and knows no date.
inline int64_t linkNowMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

#endif

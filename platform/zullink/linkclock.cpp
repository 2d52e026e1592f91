#include "zullink/linkclock.h"

cLinkClock::time_point cLinkClock::now()
{
    return time_point(std::chrono::steady_clock::now().time_since_epoch());
}

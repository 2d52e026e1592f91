#include "cscriptevents.h"

#include <utility>

void cScriptEvents::post(sScriptEvent event)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mEvents.push_back(std::move(event));
    mWakeup.wake();
}

std::optional<sScriptEvent> cScriptEvents::take()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    if (mEvents.empty()) {
        mWakeup.reset();
        return std::nullopt;
    }
    sScriptEvent event = std::move(mEvents.front());
    mEvents.pop_front();
    return event;
}

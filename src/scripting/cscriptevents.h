#pragma once

#include <deque>
#include <mutex>
#include <optional>

#include "scriptevent.h"
#include "zullink/wakeup.h"

/// Carries the events of scripts from their threads to the GUI thread.
///
/// Any thread. A script posts two events at most.
class cScriptEvents
{
public:
    void post(sScriptEvent event);

    /// Returns the oldest event, or nothing if there is none.
    std::optional<sScriptEvent> take();

    /// Readable from post() until take() has returned nothing.
    int fd() const { return mWakeup.fd(); }

private:
    // A descriptor, as the race checker does not see what passes through Qt's own queue of events.
    cWakeup mWakeup;
    std::mutex mMutex;
    std::deque<sScriptEvent> mEvents; ///< guarded by mMutex
};

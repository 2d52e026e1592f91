#pragma once

#include <QScriptValue>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <stop_token>
#include <utility>

#include "cscriptchanges.h"

/// Calls the functions that a script has left for later, one at a time, each when it is due.
///
/// It lives on the script's thread.
class cScriptCallbacks
{
public:
    using Clock = cScriptChanges::Clock;

    /// @p changes outlives this.
    explicit cScriptCallbacks(cScriptChanges& changes) : mChanges(changes) {}

    /// Has @p function called with each change of @p subject after the one with the number @p after. The
    /// result is for cancel().
    uint addHandler(const sScriptSubject& subject, uint64_t after, const QScriptValue& function);

    /// Has @p function called after @p delay and, if it @p repeats, again after each further @p delay. A call
    /// that is still late when the next one is due is left out. The result is for cancel().
    uint addTimer(Clock::duration delay, bool repeats, const QScriptValue& function);

    /// What is left of @p handle is never called. Returns false if nothing is.
    bool cancel(uint handle);

    /// The handle that was returned last; 0 before the first.
    uint lastHandle() const { return mLastHandle; }

    /// Calls functions until none is left, @p stop is requested, or @p mayContinue returns false after one.
    /// Handlers go with the device.
    void run(const std::stop_token& stop, const std::function<bool()>& mayContinue);

private:
    struct Timer
    {
        Clock::time_point due;
        std::optional<Clock::duration> period;
        QScriptValue function;
    };

    struct Handler
    {
        sScriptSubject subject;
        uint64_t after;
        QScriptValue function;
    };

    Clock::time_point nextTime() const;
    void callTimer();
    void callHandlers(const cScriptChanges::Change& change, const std::function<bool()>& mayContinue);

    cScriptChanges& mChanges;
    uint mLastHandle = 0;
    std::map<uint, Handler> mHandlers;
    std::map<uint, Timer> mTimers;
    std::set<std::pair<Clock::time_point, uint>> mOrder; ///< when a timer is due, and its handle
};

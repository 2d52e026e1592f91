#include "cscriptcallbacks.h"

#include <chrono>
#include <vector>

uint cScriptCallbacks::addHandler(const sScriptSubject& subject, uint64_t after, const QScriptValue& function)
{
    mHandlers.emplace(++mLastHandle, Handler{subject, after, function});
    return mLastHandle;
}

uint cScriptCallbacks::addTimer(Clock::duration delay, bool repeats, const QScriptValue& function)
{
    const uint handle = ++mLastHandle;
    const Clock::time_point due = Clock::now() + delay;
    mTimers.emplace(handle, Timer{due, repeats ? std::make_optional(delay) : std::nullopt, function});
    mOrder.emplace(due, handle);
    return handle;
}

bool cScriptCallbacks::cancel(uint handle)
{
    const auto timer = mTimers.find(handle);
    if (timer == mTimers.end()) {
        return mHandlers.erase(handle) > 0;
    }
    mOrder.erase({timer->second.due, handle});
    mTimers.erase(timer);
    return true;
}

void cScriptCallbacks::run(const std::stop_token& stop, const std::function<bool()>& mayContinue)
{
    while (!(mHandlers.empty() && mTimers.empty()) && mayContinue()) {
        const Clock::time_point due = nextTime();
        if (const std::optional<cScriptChanges::Change> change = mChanges.take(due, stop)) {
            callHandlers(*change, mayContinue);
        } else if (mayContinue() && Clock::now() >= due) {
            callTimer();
        }
    }
}

cScriptCallbacks::Clock::time_point cScriptCallbacks::nextTime() const
{
    constexpr std::chrono::hours kLongWait(24);
    return mOrder.empty() ? Clock::now() + kLongWait : mOrder.begin()->first;
}

void cScriptCallbacks::callHandlers(const cScriptChanges::Change& change,
                                    const std::function<bool()>& mayContinue)
{
    if (!change.subject) {
        mHandlers.clear();
        return;
    }
    std::vector<uint> handles;
    for (const auto& [handle, handler] : mHandlers) {
        if (handler.subject == *change.subject && handler.after < change.number) {
            handles.push_back(handle);
        }
    }
    QScriptValueList arguments{change.value, change.previous};
    if (change.subject->type == OBJ_DEVICE) {
        arguments = {change.value != 0};
    }
    for (const uint handle : handles) {
        // One that was called before may have cancelled it.
        const auto handler = mHandlers.find(handle);
        if (handler != mHandlers.end() && mayContinue()) {
            QScriptValue function = handler->second.function;
            function.call({}, arguments);
        }
    }
}

void cScriptCallbacks::callTimer()
{
    if (mOrder.empty()) {
        return;
    }
    const uint handle = mOrder.begin()->second;
    Timer& timer = mTimers.at(handle);
    QScriptValue function = timer.function;
    mOrder.erase(mOrder.begin());
    if (timer.period) {
        const Clock::duration late = Clock::now() - timer.due;
        timer.due += *timer.period * (1 + late / *timer.period);
        mOrder.emplace(timer.due, handle);
    } else {
        mTimers.erase(handle);
    }
    function.call();
}

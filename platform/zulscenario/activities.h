#pragma once

#include <memory>
#include <optional>

#include "zulscenario/draws.h"
#include "zulscenario/stage.h"

namespace zulscenario {

/// A step that is being done.
class Activity
{
public:
    virtual ~Activity() = default;

    /// Does what is due at @p now, which is when it began or what the last call returned. Returns when it is
    /// to be called again; nothing at its end.
    virtual std::optional<Time> act(Stage* stage, Time now) = 0;

    /// False if the scenario goes on without it.
    virtual bool isWaitedFor() const { return true; }
};

/// The activity of @p step, which outlives it and expects nothing, from @p began on. @p events counts the
/// events of the step and outlives it too.
std::unique_ptr<Activity> makeActivity(const Step& step, Time began, const Draws& draws, uint64_t* events);

} // namespace zulscenario

#include "zulscenario/timetable.h"

#include <algorithm>
#include <utility>

namespace zulscenario {

Timetable::Timetable(Scenario scenario) : mScenario(std::move(scenario))
{
    for (uint32_t i = 0; i < mScenario.steps.size(); ++i) {
        const Step& one = step(i);
        const bool isTimed = std::holds_alternative<At>(one.trigger);
        (isTimed                                      ? mTimed
         : std::holds_alternative<Every>(one.trigger) ? mRepeated
                                                      : mConditional)
            .push_back(i);
        if (std::holds_alternative<Expect>(one.action)) {
            mExpectations.push_back(i);
        }
    }
    std::ranges::stable_sort(mTimed, {}, [this](uint32_t i) { return std::get<At>(step(i).trigger).time; });
}

} // namespace zulscenario

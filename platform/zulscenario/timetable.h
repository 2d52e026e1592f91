#pragma once

#include <string>
#include <vector>

#include "zulscenario/scenario.h"

namespace zulscenario {

/// A scenario with its steps in the order of their times, for all players of it.
class Timetable
{
public:
    explicit Timetable(Scenario scenario);

    const Scenario& scenario() const { return mScenario; }
    const Step& step(uint32_t index) const { return mScenario.steps[index]; }

    /// The places of the steps that have a time, from 0.
    const std::vector<uint32_t>& timed() const { return mTimed; }

    /// The others.
    const std::vector<uint32_t>& repeated() const { return mRepeated; }
    const std::vector<uint32_t>& conditional() const { return mConditional; }
    const std::vector<uint32_t>& expectations() const { return mExpectations; }

private:
    const Scenario mScenario;
    std::vector<uint32_t> mTimed;
    std::vector<uint32_t> mRepeated;
    std::vector<uint32_t> mConditional;
    std::vector<uint32_t> mExpectations;
};

} // namespace zulscenario

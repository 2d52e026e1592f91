#pragma once

#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "zulcommand/jsontext.h"
#include "zulscenario/scenarioplayer.h"

namespace zulscenario {

/// What has become of the scenarios of a program, on one device or many.
class ScenarioReport
{
public:
    /// Adds what @p player has done.
    void add(const ScenarioPlayer& player);

    /// True if an expectation was missed.
    bool isMissed() const { return mMissed > 0; }

    /// The member "scenario" of the reply to "get scenario".
    zulcommand::JsonPtr member() const;

    /// JUnit XML with a case for each expectation, whatever the number of devices, of a @p program that runs
    /// since @p started.
    std::string junit(const std::string& program, std::time_t started) const;

private:
    struct Expectation
    {
        std::shared_ptr<const Timetable> timetable;
        uint32_t step;
        ScenarioPlayer::Outcome outcome;
    };

    std::vector<Expectation> mExpectations;
    ScenarioPlayer::Counts mCounts;
    uint64_t mScenarios = 0;
    uint64_t mMet = 0;
    uint64_t mMissed = 0;
    bool mDone = true;
};

/// The line of the control socket that tells of a step.
zulcommand::JsonPtr stepLine(const ScenarioPlayer::Done& done);

} // namespace zulscenario

#include "zulscenario/scenarioreport.h"

#include <algorithm>

#include "zulcommand/junitxml.h"

namespace zulscenario {

using zulcommand::JsonPtr;
using zulcommand::JunitCase;

namespace {

json_int_t number(uint64_t count) { return static_cast<json_int_t>(count); }

double seconds(Time time) { return std::chrono::duration<double>(time).count(); }

} // namespace

void ScenarioReport::add(const ScenarioPlayer& player)
{
    mCounts.done += player.counts().done;
    mCounts.late += player.counts().late;
    mScenarios += player.scenarios();
    mDone = mDone && player.isDone();
    for (size_t scenario = 0; scenario < player.scenarios(); ++scenario) {
        const std::shared_ptr<const Timetable>& timetable = player.timetable(scenario);
        for (const uint32_t step : timetable->expectations()) {
            auto known = std::ranges::find_if(mExpectations, [&](const Expectation& one) {
                return one.timetable == timetable && one.step == step;
            });
            if (known == mExpectations.end()) {
                known = mExpectations.insert(known, {timetable, step, {}});
            }
            const ScenarioPlayer::Outcome outcome = player.outcome(scenario, step);
            known->outcome.met += outcome.met;
            known->outcome.missed += outcome.missed;
            known->outcome.why = known->outcome.why.empty() ? outcome.why : known->outcome.why;
            mMet += outcome.met;
            mMissed += outcome.missed;
        }
    }
}

JsonPtr ScenarioReport::member() const
{
    return JsonPtr(json_pack("{s:I, s:I, s:I, s:I, s:I, s:b}", "scenarios", number(mScenarios), "done",
                             number(mCounts.done), "late", number(mCounts.late), "met", number(mMet),
                             "missed", number(mMissed), "ended", mDone ? 1 : 0));
}

std::string ScenarioReport::junit(const std::string& program, std::time_t started) const
{
    zulcommand::JunitSuite suite{program, started, std::difftime(std::time(nullptr), started)};
    for (const auto& [timetable, step, outcome] : mExpectations) {
        JunitCase one{timetable->scenario().name + ", line " + std::to_string(timetable->step(step).line)};
        if (outcome.missed > 0) {
            one.element = JunitCase::kFailure;
            one.type = "missed";
            one.message = outcome.why;
            one.detail = outcome.why + "\nmissed " + std::to_string(outcome.missed) + " of " +
                         std::to_string(outcome.met + outcome.missed) + " times";
        } else if (outcome.met == 0) {
            one.element = JunitCase::kSkipped;
            one.message = "The run ended before this step.";
        }
        suite.cases.push_back(std::move(one));
    }
    return zulcommand::junitXml(suite);
}

JsonPtr stepLine(const ScenarioPlayer::Done& done)
{
    return JsonPtr(json_pack("{s:s, s:o, s:I, s:f, s:f}", "event", "step", "scenario",
                             zulcommand::textOf(done.timetable.scenario().name), "step",
                             number(uint64_t{done.step} + 1), "planned", seconds(done.planned), "actual",
                             seconds(done.actual)));
}

} // namespace zulscenario

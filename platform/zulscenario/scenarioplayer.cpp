#include "zulscenario/scenarioplayer.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace zulscenario {

namespace {

/// advance() does at most this many things, so that the caller can do something else.
constexpr int kAtOnce = 100;

std::string portText(const Port& port) { return nameOf(port.type) + " " + std::to_string(port.number); }

std::string numberText(double value)
{
    std::string text = std::to_string(value);
    text.erase(text.find_last_not_of('0') + 1);
    return text.ends_with('.') ? text.substr(0, text.size() - 1) : text;
}

std::string valueText(const Port& port, double value)
{
    return !port.isDigital() ? numberText(value) : value == 1.0 ? "high" : value == 0.0 ? "low" : "unknown";
}

} // namespace

ScenarioPlayer::ScenarioPlayer(PlayedDevice* device, uint32_t serial, uint32_t index, Time lateAfter)
    : mStage(device, serial, index), mLateAfter(lateAfter)
{}

void ScenarioPlayer::add(std::shared_ptr<const Timetable> timetable, uint32_t seed, Time begin, bool spread)
{
    const Scenario& scenario = timetable->scenario();
    const Draws draws = Draws(seed).of(scenario.name, mStage.serial());
    if (spread) {
        begin += Time(static_cast<int64_t>(draws.of("spread", 0).fraction(0) *
                                           static_cast<double>(scenario.spread.count())));
    }
    for (const Level& level : scenario.start) {
        mStage.device().place(level.port, level.port.isDigital() ? static_cast<int>(level.value)
                                                                 : sliderValue(level.value));
    }
    for (Watch& watch : mWatches) {
        watch.held = holds(conditionOf(watch).ranges);
    }
    const auto number = static_cast<uint32_t>(mPlayed.size());
    mPlayed.push_back({std::move(timetable), draws, begin});
    beginRound(number);
    for (const uint32_t step : mPlayed.back().timetable->conditional()) {
        mWatches.push_back({number, step, false});
        mWatches.back().held = holds(conditionOf(mWatches.back()).ranges);
        ++mPlayed.back().open;
    }
}

// The heap.

void ScenarioPlayer::push(Task task)
{
    task.order = ++mOrder;
    mTasks.push_back(std::move(task));
    std::ranges::push_heap(mTasks, std::ranges::greater(), [](const Task& one) {
        return std::tuple(one.at, one.scenario, one.step, one.order);
    });
}

ScenarioPlayer::Task ScenarioPlayer::pop()
{
    std::ranges::pop_heap(mTasks, std::ranges::greater(), [](const Task& one) {
        return std::tuple(one.at, one.scenario, one.step, one.order);
    });
    Task task = std::move(mTasks.back());
    mTasks.pop_back();
    return task;
}

// Rounds.

void ScenarioPlayer::beginRound(uint32_t scenario)
{
    Played& played = mPlayed[scenario];
    played.cursor = 0;
    played.open = played.timetable->timed().size() + played.timetable->repeated().size();
    pushTimed(scenario);
    for (const uint32_t step : played.timetable->repeated()) {
        push({.at = played.round, .scenario = scenario, .step = step, .kind = Task::eKind::DRAW, .count = 1});
    }
}

/// Only the next one waits among the tasks, so that many devices can share a long scenario.
void ScenarioPlayer::pushTimed(uint32_t scenario)
{
    Played& played = mPlayed[scenario];
    if (played.cursor < played.timetable->timed().size()) {
        const uint32_t step = played.timetable->timed()[played.cursor++];
        const Time at = played.round + std::get<At>(played.timetable->step(step).trigger).time;
        push({.at = at, .scenario = scenario, .step = step, .kind = Task::eKind::TIMED});
    }
}

/// Something of the scenario's round has ended.
void ScenarioPlayer::close(uint32_t scenario)
{
    Played& played = mPlayed[scenario];
    played.end = std::max(played.end, *mActing);
    if (--played.open > 0) {
        return;
    }
    ++played.rounds;
    const auto& repeat = played.timetable->scenario().repeat;
    if (!repeat || played.rounds < *repeat) {
        played.round = played.end;
        beginRound(scenario);
    }
}

bool ScenarioPlayer::isDone() const
{
    return std::ranges::all_of(mPlayed, [](const Played& played) { return played.open == 0; });
}

// Time.

bool ScenarioPlayer::advance(Time now)
{
    for (int left = kAtOnce; left > 0; --left) {
        if (isStopped()) {
            return false;
        }
        const std::optional<Time> sample = mStage.device().nextSample();
        const bool isSample = sample && (mTasks.empty() || *sample < mTasks.front().at);
        if (isSample ? *sample > now : mTasks.empty() || mTasks.front().at > now) {
            return false;
        }
        // The server may have changed a rate, so that a sample should have been taken before.
        mActing = isSample ? std::max(*sample, mLatest) : mTasks.front().at;
        if (isSample) {
            mStage.device().takeSamples(*mActing);
        } else {
            run(pop(), now);
        }
        endActing();
    }
    return true;
}

std::optional<Time> ScenarioPlayer::next() const
{
    if (isStopped()) {
        return std::nullopt;
    }
    const std::optional<Time> sample = mStage.device().nextSample();
    if (mTasks.empty()) {
        return sample;
    }
    return sample ? std::min(*sample, mTasks.front().at) : mTasks.front().at;
}

void ScenarioPlayer::portChanged(Time now)
{
    if (!mActing) {
        mActing = now;
        endActing();
    }
}

void ScenarioPlayer::endActing()
{
    look();
    mLatest = std::max(mLatest, *mActing);
    mActing.reset();
}

float ScenarioPlayer::measure(uint32_t port, float value, Time now)
{
    return mStage.faults().measure(port, value, mActing.value_or(now));
}

// Steps.

void ScenarioPlayer::run(Task task, Time now)
{
    switch (task.kind) {
    case Task::eKind::DRAW:
        return draw(task);
    case Task::eKind::TIMED:
        pushTimed(task.scenario);
        return begin(std::move(task), now);
    case Task::eKind::BEGIN:
        return begin(std::move(task), now);
    case Task::eKind::GO_ON:
        return goOn(std::move(task), now);
    case Task::eKind::MISS:
        const auto awaited = std::ranges::find(mAwaited, task.count, &Awaited::number);
        if (awaited != mAwaited.end()) {
            const Awaited missed = *awaited;
            mAwaited.erase(awaited);
            settle(missed, false);
        }
    }
}

/// The times of two occurrences may change places, so each is drawn when it may be due at the earliest.
void ScenarioPlayer::draw(const Task& task)
{
    Played& played = mPlayed[task.scenario];
    const auto& every = std::get<Every>(stepOf(task).trigger);
    const Time planned = static_cast<int64_t>(task.count) * every.interval;
    if (every.until && planned >= *every.until) {
        return close(task.scenario);
    }
    const uint64_t step = uint64_t{played.rounds} << 32 | task.step;
    const double swing = played.draws.of("jitter", step).swing(task.count);
    const Time jitter(static_cast<int64_t>(swing * static_cast<double>(every.jitter.count())));
    if (!every.until || planned + jitter < *every.until) {
        ++played.open;
        push({.at = played.round + planned + jitter,
              .scenario = task.scenario,
              .step = task.step,
              .kind = Task::eKind::BEGIN,
              .count = task.count});
    }
    push({.at = played.round + planned,
          .scenario = task.scenario,
          .step = task.step,
          .kind = Task::eKind::DRAW,
          .count = task.count + 1});
}

void ScenarioPlayer::begin(Task task, Time now)
{
    Played& played = mPlayed[task.scenario];
    const Step& step = stepOf(task);
    ++mCounts.done;
    noteLate(&task, now);
    onStep({*played.timetable, task.step, task.at - played.begin, now - played.begin});
    if (const auto* expect = std::get_if<Expect>(&step.action)) {
        return await(task, *expect);
    }
    const Draws draws =
        played.draws.of("step", uint64_t{played.rounds} << 32 | task.step).of("occurrence", task.count);
    const bool makesEvents = std::holds_alternative<Scan>(step.action) ||
                             std::holds_alternative<Adhoc>(step.action) ||
                             std::holds_alternative<Flood>(step.action);
    task.activity = makeActivity(step, task.at, draws, makesEvents ? &played.events[task.step] : nullptr);
    goOn(std::move(task), now);
}

void ScenarioPlayer::noteLate(Task* task, Time now)
{
    if (!task->late && now - task->at > mLateAfter) {
        task->late = true;
        ++mCounts.late;
    }
}

void ScenarioPlayer::goOn(Task task, Time now)
{
    noteLate(&task, now);
    const bool begins = task.kind != Task::eKind::GO_ON;
    const bool isWaitedFor = task.activity->isWaitedFor();
    const uint32_t scenario = task.scenario;
    const std::optional<Time> next = task.activity->act(&mStage, task.at);
    if (next) {
        task.at = *next;
        task.kind = Task::eKind::GO_ON;
        push(std::move(task));
    }
    if (isWaitedFor ? !next : begins) {
        close(scenario);
    }
}

// Conditions.

bool ScenarioPlayer::holds(const std::vector<Range>& ranges) const
{
    return std::ranges::all_of(ranges, [this](const Range& range) {
        const double value = mStage.device().read(range.port);
        return value >= range.min && value <= range.max;
    });
}

/// Looks what begins to hold.
void ScenarioPlayer::look()
{
    for (Watch& watch : mWatches) {
        Played& played = mPlayed[watch.scenario];
        const When& when = conditionOf(watch);
        const bool held = std::exchange(watch.held, holds(when.ranges));
        if (watch.held && !held && *mActing >= played.begin) {
            ++played.open;
            push({.at = *mActing + when.after,
                  .scenario = watch.scenario,
                  .step = watch.step,
                  .kind = Task::eKind::BEGIN,
                  .count = ++watch.count});
        }
    }
    const auto isMet = [this](const Awaited& awaited) {
        return holds(std::get<Expect>(stepOf(awaited).action).ranges);
    };
    for (auto met = std::ranges::find_if(mAwaited, isMet); met != mAwaited.end();
         met = std::ranges::find_if(mAwaited, isMet)) {
        const Awaited awaited = *met;
        mAwaited.erase(met);
        settle(awaited, true);
    }
}

void ScenarioPlayer::await(const Task& task, const Expect& expect)
{
    mAwaited.push_back({++mExpected, task.scenario, task.step});
    push({.at = task.at + expect.within,
          .scenario = task.scenario,
          .step = task.step,
          .kind = Task::eKind::MISS,
          .count = mExpected});
}

void ScenarioPlayer::settle(const Awaited& awaited, bool met)
{
    Played& played = mPlayed[awaited.scenario];
    Outcome& outcome = played.outcomes[awaited.step];
    ++(met ? outcome.met : outcome.missed);
    if (!met) {
        const std::string why = missedSentence(stepOf(awaited));
        outcome.why = outcome.why.empty() ? why : outcome.why;
        onMissed(*played.timetable, why);
    }
    close(awaited.scenario);
}

std::string ScenarioPlayer::missedSentence(const Step& step) const
{
    const auto& expect = std::get<Expect>(step.action);
    std::string is;
    std::string expected;
    for (const Range& range : expect.ranges) {
        const std::string port = portText(range.port);
        is += (is.empty() ? "" : ", ") + port + " is " +
              valueText(range.port, mStage.device().read(range.port));
        expected += (expected.empty() ? "" : ", ") + port + ' ' + valueText(range.port, range.min);
        expected += range.min == range.max ? "" : ".." + numberText(range.max);
    }
    const std::chrono::duration<double> within = expect.within;
    return "line " + std::to_string(step.line) + " expects " + expected + " within " +
           numberText(within.count()) + " s: " + is;
}

ScenarioPlayer::Outcome ScenarioPlayer::outcome(size_t scenario, uint32_t step) const
{
    const auto found = mPlayed[scenario].outcomes.find(step);
    return found == mPlayed[scenario].outcomes.end() ? Outcome() : found->second;
}

} // namespace zulscenario

#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "zulscenario/activities.h"
#include "zulscenario/timetable.h"

namespace zulscenario {

/// Plays scenarios on one device, without a clock: it is told the time and tells when it is to be called
/// next.
///
/// What it does follows from the scenarios, their seeds, the device and what the server sets. A step that
/// comes late is done with the time that was planned, so that nothing shifts. Times count from a moment of
/// the caller's.
class ScenarioPlayer
{
public:
    /// A step that was done, or has begun if it goes on. Times are those of its scenario.
    struct Done
    {
        const Timetable& timetable;
        uint32_t step; ///< from 0
        Time planned;
        Time actual;
    };

    struct Counts
    {
        uint64_t done = 0;
        uint64_t late = 0;
    };

    /// What has become of an expectation.
    struct Outcome
    {
        uint64_t met = 0;
        uint64_t missed = 0;
        std::string why = {}; ///< it was missed the first time: one sentence
    };

    /// @p device outlives it. @p index is that of the device in its fleet. A step of which something is made
    /// later than @p lateAfter is late.
    ScenarioPlayer(PlayedDevice* device, uint32_t serial, uint32_t index, Time lateAfter);

    std::function<void(const Done&)> onStep = [](const Done&) {};

    /// Called with each occurrence of an expectation that is missed, and one sentence.
    std::function<void(const Timetable&, const std::string& why)> onMissed = [](auto&, auto&) {};

    /// Sets the inputs as the scenario starts, without events, and plays it from @p begin on. @p seed is
    /// that of its draws. With @p spread it begins up to the scenario's spread later.
    void add(std::shared_ptr<const Timetable> timetable, uint32_t seed, Time begin, bool spread = false);

    /// Nothing more is done, and no sample taken, once every scenario is done.
    void stopWhenDone() { mStopsWhenDone = true; }

    /// Does what is due at @p now, in parts. Returns true if more is due.
    bool advance(Time now);

    /// When advance() is to be called next; nothing for never.
    std::optional<Time> next() const;

    /// A port of the device has changed. Does nothing while the player itself changes it.
    void portChanged(Time now);

    /// What the sensor of an analog input makes of @p value.
    float measure(uint32_t port, float value, Time now);

    /// True if every scenario is done; one that has no end never is.
    bool isDone() const;

    const Counts& counts() const { return mCounts; }

    size_t scenarios() const { return mPlayed.size(); }
    const std::shared_ptr<const Timetable>& timetable(size_t scenario) const
    {
        return mPlayed[scenario].timetable;
    }

    /// @p step is an expectation of the scenario.
    Outcome outcome(size_t scenario, uint32_t step) const;

private:
    struct Played
    {
        std::shared_ptr<const Timetable> timetable;
        Draws draws;
        Time begin;                                         ///< of its clock
        Time round = begin;                                 ///< when this round began
        Time end = begin;                                   ///< of the last that was done in this round
        uint32_t rounds = 0;                                ///< before this one
        size_t cursor = 0;                                  ///< in the steps that have a time
        uint64_t open = 0;                                  ///< what is left of this round
        std::unordered_map<uint32_t, uint64_t> events = {}; ///< of steps, so far
        std::map<uint32_t, Outcome> outcomes = {};
    };

    struct Task
    {
        enum class eKind : uint8_t
        {
            TIMED, ///< a step that has a time begins
            DRAW,  ///< the time of the next occurrence of a repeated step is drawn
            BEGIN, ///< a step begins
            GO_ON, ///< a step goes on
            MISS   ///< the time of an expectation is over
        };

        Time at;
        uint32_t scenario;
        uint32_t step;
        uint64_t order = 0; ///< among those of one step
        eKind kind;
        bool late = false;  ///< the step is counted as late
        uint64_t count = 0; ///< of the step's occurrences; an expectation's number
        std::unique_ptr<Activity> activity = nullptr;
    };

    /// A condition of a step that is done whenever it begins to hold.
    struct Watch
    {
        uint32_t scenario;
        uint32_t step;
        bool held;
        uint64_t count = 0; ///< how often it began to hold
    };

    struct Awaited
    {
        uint64_t number;
        uint32_t scenario;
        uint32_t step;
    };

    /// Of a task, a watch or what is awaited.
    template <class Item>
    const Step& stepOf(const Item& item) const
    {
        return mPlayed[item.scenario].timetable->step(item.step);
    }
    const When& conditionOf(const Watch& watch) const { return std::get<When>(stepOf(watch).trigger); }
    bool holds(const std::vector<Range>& ranges) const;
    std::string missedSentence(const Step& step) const;

    bool isStopped() const { return mStopsWhenDone && isDone(); }
    void push(Task task);
    Task pop();
    void beginRound(uint32_t scenario);
    void pushTimed(uint32_t scenario);
    void close(uint32_t scenario);

    void run(Task task, Time now);
    void draw(const Task& task);
    void begin(Task task, Time now);
    void goOn(Task task, Time now);
    void await(const Task& task, const Expect& expect);
    void settle(const Awaited& awaited, bool met);
    void look();
    void endActing();
    void noteLate(Task* task, Time now);

    Stage mStage;
    const Time mLateAfter;
    bool mStopsWhenDone = false;
    std::vector<Played> mPlayed;
    std::vector<Task> mTasks; ///< a heap, the next one first
    uint64_t mOrder = 0;
    std::vector<Watch> mWatches;
    std::vector<Awaited> mAwaited;
    uint64_t mExpected = 0;
    std::optional<Time> mActing; ///< the time of what is being done
    Time mLatest = Time::min();  ///< the time of what was done last
    Counts mCounts;
};

} // namespace zulscenario

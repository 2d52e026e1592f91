#include "zulscenario/activities.h"

#include <algorithm>
#include <utility>

#include "zulscenario/courses.h"

namespace zulscenario {

namespace {

/// @p count periods of something that happens @p rate times a second.
Time periods(uint64_t count, double rate)
{
    return Time(static_cast<int64_t>(static_cast<double>(count) * 1e6 / rate));
}

/// Sets inputs or changes them over, and sets them back when its time is over.
class SetActivity : public Activity
{
public:
    SetActivity(std::vector<Level> levels, bool toggles, std::optional<Time> duration)
        : mLevels(std::move(levels)), mToggles(toggles), mDuration(duration)
    {}

    std::optional<Time> act(Stage* stage, Time now) override
    {
        for (Level& level : mLevels) {
            const double former = stage->actual(level.port);
            stage->set({level.port, mToggles ? (former == 1.0 ? 0.0 : 1.0) : level.value});
            level.value = former;
        }
        mToggles = false;
        const std::optional<Time> over = std::exchange(mDuration, std::nullopt);
        return over ? std::make_optional(now + *over) : std::nullopt;
    }

private:
    std::vector<Level> mLevels; ///< to be set next
    bool mToggles;
    std::optional<Time> mDuration;
};

/// One event, or several at a rate.
class EventActivity : public Activity
{
public:
    EventActivity(Flood flood, Time began, uint64_t* events)
        : mFlood(std::move(flood)), mBegan(began), mEvents(*events)
    {}

    std::optional<Time> act(Stage* stage, Time /*now*/) override
    {
        const uint64_t number = ++mEvents;
        if (const auto* adhoc = std::get_if<Adhoc>(&mFlood.event)) {
            stage->device().adhoc(adhoc->id, stage->text(adhoc->label, number),
                                  stage->text(adhoc->value, number));
        } else {
            const auto& scan = std::get<Scan>(mFlood.event);
            stage->device().scan(scan.scanner, stage->text(scan.code, number));
        }
        ++mSent;
        return mSent < mFlood.count ? std::make_optional(mBegan + periods(mSent, mFlood.rate)) : std::nullopt;
    }

private:
    const Flood mFlood;
    const Time mBegan;
    uint64_t& mEvents;
    uint32_t mSent = 0;
};

class RampActivity : public Activity
{
public:
    RampActivity(const Ramp* ramp, Time began) : mRamp(*ramp), mBegan(began) {}

    std::optional<Time> act(Stage* stage, Time now) override
    {
        for (const Ramp::Course& course : mRamp.courses) {
            stage->set({course.port, rampValue(course, mRamp.over, now - mBegan)});
        }
        const Time end = mBegan + mRamp.over;
        return now < end ? std::make_optional(std::min(now + mRamp.step, end)) : std::nullopt;
    }

private:
    const Ramp& mRamp;
    const Time mBegan;
};

class WaveActivity : public Activity
{
public:
    WaveActivity(const Wave* wave, std::optional<Time> duration, Time began, const Draws& draws)
        : mWave(*wave), mDuration(duration), mBegan(began), mDraws(draws)
    {}

    std::optional<Time> act(Stage* stage, Time now) override
    {
        if (mDuration && now - mBegan >= *mDuration) {
            return std::nullopt;
        }
        for (size_t i = 0; i < mWave.courses.size(); ++i) {
            stage->set({mWave.courses[i].port, value(i, now)});
        }
        const Time next = now + mWave.step;
        return mDuration ? std::min(next, mBegan + *mDuration) : next;
    }

private:
    double value(size_t index, Time now)
    {
        const Wave::Course& course = mWave.courses[index];
        if (mWave.shape != Wave::eShape::WALK) {
            return waveValue(course, mWave.shape, mWave.period, now - mBegan);
        }
        if (index == mWalk.size()) {
            mWalk.push_back(course.middle);
        } else {
            mWalk[index] = walkValue(course, mWave, mWalk[index], mDraws.swing(mDrawn++));
        }
        return mWalk[index];
    }

    const Wave& mWave;
    const std::optional<Time> mDuration;
    const Time mBegan;
    const Draws mDraws;
    uint64_t mDrawn = 0;
    std::vector<double> mWalk;
};

class PlayActivity : public Activity
{
public:
    PlayActivity(const Play* play, Time began) : mBegan(began), mPlace(play) {}

    std::optional<Time> act(Stage* stage, Time now) override
    {
        if (mBegan + mPlace.time() <= now) { // the table's first row may be later than its beginning
            mPlace.visit([stage](const Port& port, double value) { stage->set({port, value}); });
            if (!mPlace.advance()) {
                return std::nullopt;
            }
        }
        return mBegan + mPlace.time();
    }

private:
    const Time mBegan;
    TablePlace mPlace;
};

class SensorActivity : public Activity
{
public:
    SensorActivity(const Sensor* sensor, std::optional<Time> duration, Time began, const Draws& draws)
        : mSensor(*sensor), mDuration(duration), mBegan(began), mDraws(draws)
    {}

    std::optional<Time> act(Stage* stage, Time now) override
    {
        if (mFaults.empty()) {
            begin(stage, now);
        }
        if (mDuration && now - mBegan >= *mDuration) {
            end(stage);
            return std::nullopt;
        }
        std::optional<Time> next = mDuration ? std::make_optional(mBegan + *mDuration) : std::nullopt;
        for (Running& fault : mFaults) {
            if (fault.kind == Sensor::eFault::CHATTER && stage->faults().has(fault.port, fault.number)) {
                const Time change = chatter(stage, &fault, now);
                next = next ? std::min(*next, change) : change;
            }
        }
        return next;
    }

    bool isWaitedFor() const override { return mDuration.has_value(); }

private:
    struct Running : Sensor::Fault
    {
        uint64_t number = 0;
        uint64_t changes = 0;
    };

    void begin(Stage* stage, Time now)
    {
        for (const Sensor::Fault& fault : mSensor.faults) {
            const double actual = stage->actual(fault.port);
            release(stage, fault.port);
            const uint64_t number =
                stage->faults().begin(fault, actual, now, mDraws.of("fault", mFaults.size()));
            mFaults.push_back({fault, number});
        }
    }

    /// A digital input becomes what it would be without the fault that it has.
    static void release(Stage* stage, const Port& port)
    {
        if (const double* actual = port.isDigital() ? stage->faults().actual(port) : nullptr) {
            stage->device().setDigitalInput(port.number, *actual == 1.0);
        }
    }

    void end(Stage* stage)
    {
        for (const Running& fault : mFaults) {
            if (stage->faults().has(fault.port, fault.number)) {
                release(stage, fault.port);
                stage->faults().end(fault.port, fault.number);
            }
        }
    }

    /// Changes the input over if it is time. Returns when it is the next time.
    Time chatter(Stage* stage, Running* fault, Time now) const
    {
        Time next = mBegan + periods(fault->changes + 1, fault->amount);
        if (next <= now) {
            ++fault->changes;
            const bool changed = fault->changes % 2 == 1;
            const bool actual = *stage->faults().actual(fault->port) == 1.0;
            stage->device().setDigitalInput(fault->port.number, actual != changed);
            next = mBegan + periods(fault->changes + 1, fault->amount);
        }
        return next;
    }

    const Sensor& mSensor;
    const std::optional<Time> mDuration;
    const Time mBegan;
    const Draws mDraws;
    std::vector<Running> mFaults;
};

class LinkActivity : public Activity
{
public:
    explicit LinkActivity(const Link& link) : mUp(link.up) {}

    std::optional<Time> act(Stage* stage, Time /*now*/) override
    {
        stage->device().setLink(mUp);
        return std::nullopt;
    }

private:
    const bool mUp;
};

template <class... Functions>
struct Overloaded : Functions...
{
    using Functions::operator()...;
};

template <class... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>; // clang 14 needs it

} // namespace

std::unique_ptr<Activity> makeActivity(const Step& step, Time began, const Draws& draws, uint64_t* events)
{
    using Made = std::unique_ptr<Activity>;
    return std::visit(
        Overloaded{
            [&](const Set& set) -> Made {
                return std::make_unique<SetActivity>(set.levels, false, step.duration);
            },
            [&](const Toggle& toggle) -> Made {
                return std::make_unique<SetActivity>(std::vector{Level{toggle.port}}, true, step.duration);
            },
            [&](const Scan& scan) -> Made {
                return std::make_unique<EventActivity>(Flood{scan, 1, 1.0}, began, events);
            },
            [&](const Adhoc& adhoc) -> Made {
                return std::make_unique<EventActivity>(Flood{adhoc, 1, 1.0}, began, events);
            },
            [&](const Flood& flood) -> Made { return std::make_unique<EventActivity>(flood, began, events); },
            [&](const Ramp& ramp) -> Made { return std::make_unique<RampActivity>(&ramp, began); },
            [&](const Wave& wave) -> Made {
                return std::make_unique<WaveActivity>(&wave, step.duration, began, draws);
            },
            [&](const Sensor& sensor) -> Made {
                return std::make_unique<SensorActivity>(&sensor, step.duration, began, draws);
            },
            [&](const Play& play) -> Made { return std::make_unique<PlayActivity>(&play, began); },
            [&](const Link& link) -> Made { return std::make_unique<LinkActivity>(link); },
            [](const Expect&) -> Made { return nullptr; }},
        step.action);
}

} // namespace zulscenario

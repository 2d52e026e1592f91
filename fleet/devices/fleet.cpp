#include "fleet/devices/fleet.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <malloc.h>
#include <sys/resource.h>
#include <utility>

#include "fleet/devices/steadytime.h"
#include "zuldevice/seededrandom.h"

namespace fleet {

using zulscenario::ScenarioPlayer;
using zulscenario::ScenarioReport;

namespace {

/// tick() does at most this many steps of one kind before the event loop handles the connections.
constexpr int kStepsAtOnce = 200;

/// A fleet whose scenarios are done checks at this interval if all events are sent.
constexpr int64_t kSentLookUs = 10 * kMillisecond;

constexpr int64_t kLate = 10 * kMillisecond;
constexpr int64_t kTooLate = kSecond;

/// Samples need not be more punctual.
constexpr int64_t kSampleRest = 5 * kMillisecond;

/// More outages than this are carried out but not reported.
constexpr size_t kMaxOutages = 10'000;

constexpr char kPlannedReason[] = "a planned outage";

uint64_t heapBytes()
{
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

double processorSeconds()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

uint64_t elapsed(int64_t sinceUs, int64_t nowUs)
{
    return static_cast<uint64_t>(std::max<int64_t>(nowUs - sinceUs, 0));
}

/// A device's own rate is looked at every second of the devices, but at most once in a millisecond.
double samplesPerSecond(const FleetSettings& settings, uint32_t count)
{
    return settings.sampleEvery ? count * settings.timeScale / inSeconds(*settings.sampleEvery)
                                : count * std::min(settings.timeScale, 1000.0);
}

} // namespace

Fleet::Fleet(boost::asio::io_context& io, const FleetSettings& settings, ServerTarget target)
    : mSettings(settings),
      mCount(settings.shard.size(settings.count)),
      mIo(io),
      mTarget(std::move(target)),
      mShared{io, mTarget, settings.link, mNoTrace, {}},
      mTimer(io),
      mClock(settings.timeScale),
      mConnects(0, 1.0),
      mGate(std::max({settings.shard.rate(settings.connectRate, settings.count), mCount / 5.0, 1.0})),
      mEvents(0, 1.0),
      mPlan(settings.outages, mCount, settings.seed),
      mSamples(0, 1.0)
{
    mReport.seed = settings.seed;
    mReport.devices.asked = mCount;
    mReport.connects.planned = settings.shard.rate(settings.connectRate, settings.count);
    mHeapBefore = heapBytes();
    addDevices();
}

void Fleet::addDevices()
{
    const uint32_t first = mSettings.shard.first(mSettings.count);
    const time_t now = mClock.beginning();
    Device::Owner* const owner = this; // a private base
    mRecords.resize(mCount);
    for (uint32_t i = 0; i < mCount; ++i) {
        const uint32_t number = first + i;
        cSeededRandom random(mSettings.seed, "pause", number);
        mDevices.push_back(
            std::make_unique<Device>(Device::Description{.index = i,
                                                         .counts = mSettings.counts,
                                                         .label = mSettings.label.text(number),
                                                         .version = mSettings.version,
                                                         .serial = mSettings.serialStart + number,
                                                         .pauseSeed = static_cast<uint32_t>(random.next()),
                                                         .now = now},
                                     &mShared, owner));
    }
}

void Fleet::start()
{
    mStartUs = nowUs();
    mClock = cScaledClock(mSettings.timeScale);
    if (!mTimetables.empty()) {
        play(mTimetables);
    }
    mConnects = Schedule(mStartUs, *mReport.connects.planned);
    const double firstUs = static_cast<double>(mSettings.sampleEvery.value_or(0)) / mSettings.timeScale;
    mSamples = Schedule(mStartUs + static_cast<int64_t>(firstUs), samplesPerSecond(mSettings, mCount));
    tick();
}

// Time.

/// Does what is due, in parts: the event loop handles the connections between them.
void Fleet::tick()
{
    const int64_t now = nowUs();
    const bool moreConnects = connectDue(now);
    beginOutages(now);
    endStorms(now);
    const bool moreEvents = reportEvents(now);
    const bool moreSamples = takeSamples(now);
    const bool moreSteps = mScenarios && mScenarios->advance();
    const bool isOver =
        mEventsUs && mSettings.duration && now >= *mEventsUs + *mSettings.duration && !moreEvents;
    if ((isOver || areScenariosOver()) && !std::exchange(mEnded, true)) {
        onEnd();
    }
    if (mEnded) {
        return;
    }
    if (moreConnects || moreEvents || moreSamples || moreSteps) {
        boost::asio::post(mIo, [this] { tick(); });
    } else {
        arm(now);
    }
}

void Fleet::arm(int64_t nowUs)
{
    int64_t next = nowUs + kSecond;
    if (mBegun < mCount) {
        next = std::min(next, mConnects.due(mBegun));
    }
    if (!mReady.empty()) {
        next = std::min(next, mGate.nextUs());
    }
    if (mEventsUs) {
        next = std::min(next, mSettings.eventRate > 0.0 ? mEvents.due(mEventStep) : next);
        next = std::min(next, mSettings.duration ? *mEventsUs + *mSettings.duration : next);
        const int64_t outage = mPlan.nextUs();
        next = outage < next - *mEventsUs ? *mEventsUs + outage : next;
    }
    if (!mStormEnds.empty()) {
        next = std::min(next, mStormEnds.begin()->first);
    }
    if (mScenarios) {
        next = std::min(next, mScenarios->nextUs());
        next = mSettings.untilDone && mScenarios->isDone() ? std::min(next, nowUs + kSentLookUs) : next;
    } else if (mSettings.counts.analogInputs > 0) {
        next = std::min(next, std::max(mSamples.due(mSampleStep), nowUs + kSampleRest));
    }
    mTimer.expires_at(LinkTimer::time_point(std::chrono::microseconds(next)));
    mTimer.async_wait([this](const boost::system::error_code& error) {
        if (!error) {
            tick();
        }
    });
}

// Connecting.

/// Returns true if more is due.
bool Fleet::connectDue(int64_t now)
{
    int steps = kStepsAtOnce;
    for (; mBegun < mCount && mConnects.due(mBegun) <= now && steps > 0; --steps) {
        const int64_t due = mConnects.due(mBegun);
        Device& device = *mDevices[mBegun++];
        mLastBegunUs = now;
        mGate.noteOther(now);
        begin(device, due, now);
    }
    while (!mReady.empty() && steps-- > 0) {
        const std::optional<int64_t> slot = mGate.take(now);
        if (!slot) {
            return false;
        }
        Device& device = *mReady.front();
        mReady.pop_front();
        begin(device, *slot, now);
    }
    return steps <= 0;
}

void Fleet::begin(Device& device, int64_t sinceUs, int64_t now)
{
    if (device.phase() != Device::ePhase::WAITING) {
        return;
    }
    std::ranges::for_each(mOutages, [now](RunningOutage& outage) { outage.connectBegun(now); });
    device.connect(sinceUs);
}

/// The timer may be set for later than the device can begin.
void Fleet::readyToConnect(Device& device)
{
    mReady.push_back(&device);
    if (mReady.size() == 1 && mStartUs != 0 && !mEnded) {
        boost::asio::post(mIo, [this] {
            if (!mEnded) {
                static_cast<void>(connectDue(nowUs()));
                arm(nowUs());
            }
        });
    }
}

void Fleet::connected(Device& device, int64_t sinceUs)
{
    mReport.latencies.connect.record(elapsed(sinceUs, nowUs()));
    if (mObserver != nullptr) {
        mObserver->linkChanged(device);
    }
}

uint32_t Fleet::reasonNumber(const std::string& reason)
{
    const auto known = std::ranges::find(mReasons, reason);
    const auto number = static_cast<uint32_t>(known - mReasons.begin());
    if (known == mReasons.end()) {
        mReasons.push_back(reason);
    }
    return number;
}

void Fleet::refused(Device& device, const std::string& reason)
{
    record(device).reason = reasonNumber(reason);
    settle(device);
    if (mObserver != nullptr) {
        mObserver->linkChanged(device);
    }
}

void Fleet::identified(Device& device, int64_t sinceUs)
{
    const int64_t now = nowUs();
    mReport.latencies.identified.record(elapsed(sinceUs, now));
    Record& known = record(device);
    known.planned = false;
    std::ranges::for_each(mOutages, [&](RunningOutage& outage) { outage.identified(device.index(), now); });
    if (!std::exchange(known.everIn, true) && ++mEverIn == mCount) {
        mReport.secondsUntilAllIn = inSeconds(now - mStartUs);
    }
    settle(device);
}

void Fleet::lost(Device& device, const std::string& reason)
{
    if (!device.isIdentified()) {
        record(device).reason = reasonNumber(reason);
        settle(device);
    }
    if (mObserver != nullptr) {
        mObserver->linkChanged(device);
    }
}

void Fleet::settle(Device& device)
{
    if (!std::exchange(record(device).settled, true) && ++mSettled == mCount) {
        beginEvents();
    }
}

// Events.

void Fleet::beginEvents()
{
    mReport.bytesPerDevice = static_cast<double>(heapBytes() - std::min(heapBytes(), mHeapBefore)) / mCount;
    mEventsUs = nowUs();
    mProcessorBefore = processorSeconds();
    mEvents =
        Schedule(*mEventsUs, std::max(mSettings.shard.rate(mSettings.eventRate, mSettings.count), 1e-9));
    boost::asio::post(mIo, [this] { arm(nowUs()); });
}

/// Returns true if more is due.
bool Fleet::reportEvents(int64_t now)
{
    if (!mEventsUs || mSettings.eventRate <= 0.0) {
        return false;
    }
    const int64_t end = mSettings.duration ? *mEventsUs + *mSettings.duration : now + 1;
    for (int steps = kStepsAtOnce; steps > 0; --steps) {
        const int64_t due = mEvents.due(mEventStep);
        if (due > now || due >= end) {
            return false;
        }
        reportEvent(mEventStep++, due);
    }
    return true;
}

void Fleet::reportEvent(uint64_t step, int64_t dueUs)
{
    const uint64_t stepOfAll = step * mSettings.shard.of + mSettings.shard.index;
    const EventMix::Event event = mSettings.mix.draw(mSettings.seed, stepOfAll, mCount);
    EventCounts& counts = mReport.events(event.kind);
    ++counts.planned;
    const int64_t delay = nowUs() - dueUs;
    if (delay > kTooLate) {
        ++counts.leftOut;
        return;
    }
    counts.late += delay > kLate ? 1 : 0;
    Device& device = *mDevices[event.device];
    const auto kind = static_cast<eMessage>(event.kind);
    const auto act = [&](PlainDevice& plain) {
        switch (event.kind) {
        case eEventKind::DIN:
            return plain.setDigitalInput(event.number, !plain.isHigh(event.number));
        case eEventKind::AIN:
            return plain.setAnalogInput(event.number, static_cast<int>(event.value));
        case eEventKind::SCAN:
            return plain.scan(event.number, std::to_string(event.value).c_str());
        default:
            plain.adhoc(event.number, "EVENT", std::to_string(stepOfAll).c_str());
            return true;
        }
    };
    change(device, [&] { return device.report(kind, dueUs, act); });
}

void Fleet::written(eMessage message, int64_t sinceUs)
{
    const uint64_t us = elapsed(sinceUs, nowUs());
    if (message < eMessage::OTHER_EVENT) {
        ++counts(message).sent;
        mReport.latencies.event.record(us);
    } else if (message != eMessage::OTHER_EVENT) {
        mReport.latencies.answer.record(us);
    }
}

void Fleet::dropped(eMessage message)
{
    if (message < eMessage::OTHER_EVENT) {
        ++counts(message).dropped;
    }
}

void Fleet::setReceived(Device& device, cObjectList& message)
{
    if (mObserver != nullptr) {
        mObserver->setReceived(device, message);
        mObserver->beforeChange(device);
    }
}

void Fleet::setApplied(Device& device)
{
    if (mObserver != nullptr) {
        mObserver->afterChange(device);
    }
    if (mScenarios) {
        mScenarios->portChanged(device);
        boost::asio::post(mIo, [this] { arm(nowUs()); });
    }
}

/// Each device once in every second, or whenever a sample is due. Returns true if more is due.
bool Fleet::takeSamples(int64_t now)
{
    if (mSettings.counts.analogInputs == 0 || mScenarios) {
        return false;
    }
    for (int steps = kStepsAtOnce; steps > 0; --steps) {
        if (mSamples.due(mSampleStep) > now) {
            return false;
        }
        Device& device = *mDevices[mSampleStep++ % mCount];
        const time_t time = mClock.seconds();
        act(device, [&](PlainDevice& plain) {
            mSettings.sampleEvery ? plain.sampleAll(time) : plain.takeSamples(time);
            return true;
        });
    }
    return true;
}

// Scenarios.

void Fleet::play(const Scenarios::Timetables& timetables)
{
    if (mStartUs == 0) {
        mTimetables = timetables;
        return;
    }
    if (!mScenarios) {
        Scenarios::Owner* const owner = this; // a private base
        mScenarios = std::make_unique<Scenarios>(owner, mDevices, mSettings, mClock);
    }
    mScenarios->add(timetables);
    boost::asio::post(mIo, [this] { arm(nowUs()); });
}

/// True when the servers have read everything.
bool Fleet::areScenariosOver()
{
    if (!mSettings.untilDone || !mScenarios || !mScenarios->isDone()) {
        return false;
    }
    size_t over = 0;
    for (const auto& device : mDevices) {
        record(*device).planned = true;
        over += device->finish() ? 1 : 0;
    }
    return over == mDevices.size();
}

ScenarioReport Fleet::scenarioReport(const std::vector<Device*>& devices) const
{
    ScenarioReport report;
    if (mScenarios) {
        std::ranges::for_each(devices, [&](Device* device) { report.add(mScenarios->player(*device)); });
    }
    return report;
}

ScenarioReport Fleet::scenarioReport() const
{
    std::vector<Device*> all;
    std::ranges::transform(mDevices, std::back_inserter(all), [](auto& device) { return device.get(); });
    return scenarioReport(all);
}

void Fleet::perform(Device& device, const std::function<void(PlainDevice&)>& act)
{
    this->act(device, [&act](PlainDevice& plain) {
        act(plain);
        return true;
    });
}

void Fleet::setLink(Device& device, bool up)
{
    if (up) {
        connect(device);
    } else {
        disconnect(device);
    }
}

void Fleet::stepDone(Device& device, const ScenarioPlayer::Done& done)
{
    if (mObserver != nullptr) {
        mObserver->stepDone(device, done);
    }
}

// Outages.

void Fleet::beginOutages(int64_t now)
{
    while (mEventsUs && mPlan.nextUs() <= now - *mEventsUs) {
        beginOutage(mPlan.next(), now);
    }
}

void Fleet::beginOutage(const OutagePlan::Step& step, int64_t now)
{
    const bool storm = step.order.kind == OutageOrder::Kind::STORM;
    RunningOutage outage(step.order.kind, step.atUs, now);
    std::vector<uint32_t> held;
    for (const uint32_t index : step.devices) {
        Device& device = *mDevices[index];
        if (device.isIdentified() && device.phase() == Device::ePhase::UP) {
            mRecords[index].planned = true;
            outage.add(index);
        }
        if (!storm) {
            device.drop(kPlannedReason, step.order.reset);
        } else if (device.phase() != Device::ePhase::OFF) {
            device.hold(kPlannedReason, step.order.reset);
            held.push_back(index);
        }
    }
    if (storm) {
        mStormEnds.emplace(now + step.order.lengthUs, mStorms.size());
        mStorms.push_back(std::move(held));
    }
    if (mOutages.size() < kMaxOutages) {
        mOutages.push_back(std::move(outage));
    }
}

void Fleet::endStorms(int64_t now)
{
    while (!mStormEnds.empty() && mStormEnds.begin()->first <= now) {
        for (const uint32_t index : std::exchange(mStorms[mStormEnds.begin()->second], {})) {
            mDevices[index]->release();
        }
        mStormEnds.erase(mStormEnds.begin());
    }
}

// What is told.

Device* Fleet::device(uint32_t serial) const
{
    const uint64_t first = uint64_t{mSettings.serialStart} + mSettings.shard.first(mSettings.count);
    return serial >= first && serial - first < mCount ? mDevices[serial - first].get() : nullptr;
}

void Fleet::disconnect(Device& device)
{
    record(device).planned = true;
    device.hold("told to disconnect", false);
}

Fleet::Progress Fleet::progress() const
{
    Progress progress;
    for (const auto& device : mDevices) {
        const bool isUp = device->phase() == Device::ePhase::UP;
        const bool isConnecting = isUp || device->phase() == Device::ePhase::CONNECTING;
        ++(isUp && device->isIdentified() ? progress.in : isConnecting ? progress.connecting : progress.down);
    }
    const EventCounts events = mReport.events();
    progress.sent = events.sent;
    progress.late = events.late;
    progress.seconds = mStartUs == 0 ? 0.0 : inSeconds(nowUs() - mStartUs);
    return progress;
}

FleetReport Fleet::report() const
{
    FleetReport report = mReport;
    const double ramp = inSeconds(std::max<int64_t>(mLastBegunUs - mStartUs, 0));
    report.connects.reached = mBegun < 2 || ramp <= 0.0 ? mBegun : (mBegun - 1) / ramp;
    report.devices.in = mEverIn;
    for (const auto& device : mDevices) {
        const Record& known = mRecords[device->index()];
        const bool isIn = device->phase() == Device::ePhase::UP && device->isIdentified();
        if (!known.everIn && known.reason != 0) {
            ++report.devices.refused[mReasons[known.reason]];
        }
        report.devices.lost += known.everIn && !isIn && !known.planned ? 1 : 0;
        device->eachWaiting([&report](eMessage message) {
            if (message < eMessage::OTHER_EVENT) {
                ++report.kinds[static_cast<size_t>(message)].waiting;
            }
        });
    }
    std::ranges::transform(mOutages, std::back_inserter(report.outages), &RunningOutage::report);
    const uint64_t sent = report.events().sent;
    if (sent > 0) {
        report.secondsPer1000Events =
            (processorSeconds() - mProcessorBefore) * 1000.0 / static_cast<double>(sent);
    }
    return report;
}

} // namespace fleet

#include "cscenarios.h"

#include <QElapsedTimer>
#include <algorithm>
#include <iostream>
#include <random>
#include <utility>

#include "cainput.h"
#include "cdevice.h"
#include "zulscenario/scenarioreader.h"

using namespace zulscenario;

namespace {

/// After this time the event loop handles other events first.
constexpr int kAdvanceMs = 5;

/// A step that is made later than this, by the real clock, is late.
constexpr std::chrono::milliseconds kLateStep(10);

zuldevice::Counts countsOf(const cDevice& device)
{
    return {device.getDiscreteInCount(), device.getDiscreteOutCount(), device.getAnalogInCount(),
            device.getAnalogOutCount(), static_cast<uint32_t>(device.getScannerCount())};
}

} // namespace

cScenarios::cScenarios(std::function<void(bool up)> setLink) : mSetLink(std::move(setLink))
{
    mTimer.setSingleShot(true);
    mTimer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&mTimer, &QTimer::timeout, [this] { advance(); });
}

cScenarios::~cScenarios() { setDevice(nullptr); }

void cScenarios::setDevice(cDevice* device)
{
    if (mPlayer) {
        mTimer.stop();
        mDevice->removeObserver(this);
        mDevice->setSensors(nullptr);
        mFormer.add(*mPlayer);
        mPlayer.reset();
        mBegun = false;
    }
    mDevice = device;
}

ScenarioReport cScenarios::report() const
{
    ScenarioReport report = mFormer;
    if (mPlayer) {
        report.add(*mPlayer);
    }
    return report;
}

std::string cScenarios::add(const std::string& path)
{
    Scenario scenario;
    std::string mistake = readScenario(path, countsOf(*mDevice), &scenario);
    if (mistake.empty()) {
        makePlayer();
        const uint32_t seed = seedOf(scenario);
        mPlayer->add(std::make_shared<const Timetable>(std::move(scenario)), seed, now());
        mDone = false;
    }
    return mistake;
}

void cScenarios::makePlayer()
{
    if (mPlayer) {
        return;
    }
    PlayedDevice* const played = this; // a private base
    const auto late = std::chrono::duration_cast<Time>(kLateStep * std::max(mTimeScale, 1.0));
    mPlayer = std::make_unique<ScenarioPlayer>(played, mDevice->getDeviceSerial(), 0, late);
    if (mStopsWhenDone) {
        mPlayer->stopWhenDone();
    }
    mPlayer->onStep = [this](const ScenarioPlayer::Done& done) { onStep(stepLine(done)); };
    mPlayer->onMissed = [](const Timetable& timetable, const std::string& why) {
        std::cerr << "zulbench: " << timetable.scenario().name << ": " << why << std::endl;
    };
    mDevice->setSensors(this);
    mDevice->addObserver(this);
}

uint32_t cScenarios::seedOf(const Scenario& scenario)
{
    if (mSeed || scenario.seed) {
        return mSeed ? *mSeed : *scenario.seed;
    }
    if (!mChance) {
        mChance = std::random_device{}();
        mTellsChance = true;
    }
    return *mChance;
}

void cScenarios::begin()
{
    if (!mPlayer) {
        return;
    }
    if (std::exchange(mTellsChance, false)) {
        std::cerr << "zulbench: the seed is " << *mChance << "; --seed " << *mChance
                  << " plays the same scenario again" << std::endl;
    }
    if (!std::exchange(mBegun, true)) {
        mClock = cScaledClock(mTimeScale);
        mDevice->leaveSampling(mClock.beginning());
    }
    arm(false);
}

void cScenarios::advance()
{
    QElapsedTimer timer;
    timer.start();
    mAdvancing = true;
    bool moreIsDue = true;
    while (moreIsDue && !timer.hasExpired(kAdvanceMs)) {
        moreIsDue = mPlayer->advance(now());
    }
    mAdvancing = false;
    arm(moreIsDue);
}

void cScenarios::arm(bool moreIsDue)
{
    if (const std::optional<Time> next = mPlayer->next()) {
        const auto pause = mClock.realTime(*next) - cScaledClock::Real::now();
        const auto ms = std::chrono::ceil<std::chrono::milliseconds>(pause);
        mTimer.start(moreIsDue ? std::chrono::milliseconds(0)
                               : std::clamp<std::chrono::milliseconds>(ms, std::chrono::milliseconds(0),
                                                                       std::chrono::hours(1)));
    }
    if (mPlayer->isDone() && !std::exchange(mDone, true)) {
        onDone();
    }
}

void cScenarios::portChanged(const cObjectPort&)
{
    if (mBegun && !mAdvancing) {
        mPlayer->portChanged(now());
        arm(false);
    }
}

// The device.

void cScenarios::setDigitalInput(uint32_t port, bool high)
{
    mDevice->setDigitalInput(static_cast<int>(port), high);
}

void cScenarios::setAnalogInput(uint32_t port, int value)
{
    mDevice->setAnalogInput(static_cast<int>(port), value);
}

void cScenarios::place(const Port& port, int value)
{
    if (port.isDigital()) {
        mDevice->placeDigitalInput(static_cast<int>(port.number), value != 0);
    } else {
        mDevice->placeAnalogInput(static_cast<int>(port.number), value);
    }
}

void cScenarios::scan(uint32_t scanner, const std::string& code)
{
    mDevice->reportScan(static_cast<int>(scanner), code);
}

void cScenarios::adhoc(uint32_t id, const std::string& label, const std::string& value)
{
    mDevice->reportAdhoc(id, label, value);
}

void cScenarios::setLink(bool up) { mSetLink(up); }

double cScenarios::read(const Port& port) const
{
    // The reader has refused ports that the device has not.
    const cObjectPort& found = *mDevice->findPort(port.type, static_cast<int>(port.number));
    return port.type == OBJ_PORT_AIN ? dynamic_cast<const cAInput&>(found).getCurrentSample()
                                     : valueOf(found);
}

std::optional<Time> cScenarios::nextSample() const
{
    const std::optional<int64_t> next = mDevice->nextSample();
    return next ? std::make_optional(Time(std::chrono::seconds(*next - mClock.beginning()))) : std::nullopt;
}

void cScenarios::takeSamples(Time now)
{
    mDevice->takeSamples(mClock.beginning() + std::chrono::floor<std::chrono::seconds>(now).count());
}

float cScenarios::measure(uint32_t port, float value) { return mPlayer->measure(port, value, now()); }

#include "fleet/devices/scenarios.h"

#include <limits>

#include "fleet/devices/steadytime.h"
#include "zulscenario/scenarioreader.h"

namespace fleet {

using namespace zulscenario;

namespace {

/// advance() has at most this many devices act before the event loop handles the connections.
constexpr int kDevicesAtOnce = 200;

/// A step that is made later than this, by the real clock, is late.
constexpr std::chrono::milliseconds kLateStep(10);

} // namespace

/// One device of the fleet and the player of its scenarios.
class Scenarios::DevicePlayer : private PlayedDevice, private cSensors
{
public:
    DevicePlayer(Scenarios& scenarios, Device& device)
        : mScenarios(scenarios),
          mDevice(device),
          mPlayer(this, device.plain().getDeviceSerial(),
                  device.index() + scenarios.mSettings.shard.first(scenarios.mSettings.count),
                  std::chrono::duration_cast<Time>(kLateStep * std::max(scenarios.mSettings.timeScale, 1.0))),
          mSampleAt(samplePeriod())
    {
        mPlayer.onStep = [this](const ScenarioPlayer::Done& step) { owner().stepDone(mDevice, step); };
        if (scenarios.mSettings.untilDone) {
            mPlayer.stopWhenDone();
        }
        mDevice.setSensors(this);
        mDevice.beginSampling(scenarios.mClock.beginning());
    }

    ~DevicePlayer() override { mDevice.setSensors(nullptr); }
    DevicePlayer(const DevicePlayer&) = delete;
    DevicePlayer& operator=(const DevicePlayer&) = delete;

    ScenarioPlayer& player() { return mPlayer; }
    uint32_t place() const { return mDevice.index(); }

    std::optional<Time> scheduled;
    bool done = true;

private:
    Owner& owner() const { return mScenarios.mOwner; }
    const PlainDevice& plain() const { return mDevice.plain(); }

    void setDigitalInput(uint32_t port, bool high) override
    {
        owner().perform(mDevice, [&](PlainDevice& plain) { plain.setDigitalInput(port, high); });
    }

    void setAnalogInput(uint32_t port, int value) override
    {
        owner().perform(mDevice, [&](PlainDevice& plain) { plain.setAnalogInput(port, value); });
    }

    void place(const Port& port, int value) override
    {
        owner().perform(mDevice, [&](PlainDevice& plain) {
            if (port.isDigital()) {
                plain.placeDigitalInput(port.number, value != 0);
            } else {
                plain.placeAnalogInput(port.number, value);
            }
        });
    }

    void scan(uint32_t scanner, const std::string& code) override
    {
        owner().perform(mDevice, [&](PlainDevice& plain) { plain.scan(scanner, code.c_str()); });
    }

    void adhoc(uint32_t id, const std::string& label, const std::string& value) override
    {
        owner().perform(mDevice, [&](PlainDevice& plain) { plain.adhoc(id, label.c_str(), value.c_str()); });
    }

    void setLink(bool up) override { owner().setLink(mDevice, up); }

    double read(const Port& port) const override
    {
        switch (port.type) {
        case OBJ_PORT_DIN:
            return valueOf(*plain().digitalInputs()[port.number - 1]);
        case OBJ_PORT_DOUT:
            return valueOf(*plain().digitalOutputs()[port.number - 1]);
        case OBJ_PORT_AIN:
            return plain().analogInputs()[port.number - 1]->getValue();
        default:
            return valueOf(*plain().analogOutputs()[port.number - 1]);
        }
    }

    Time samplePeriod() const { return Time(mScenarios.mSettings.sampleEvery.value_or(0)); }

    std::optional<Time> nextSample() const override
    {
        const std::optional<int64_t> next = plain().nextSample();
        if (next && mScenarios.mSettings.sampleEvery) {
            return mSampleAt;
        }
        return next ? std::make_optional(Time(std::chrono::seconds(*next - mScenarios.mClock.beginning())))
                    : std::nullopt;
    }

    void takeSamples(Time now) override
    {
        const time_t time =
            mScenarios.mClock.beginning() + std::chrono::floor<std::chrono::seconds>(now).count();
        owner().perform(mDevice, [&](PlainDevice& plain) {
            mScenarios.mSettings.sampleEvery ? plain.sampleAll(time) : plain.takeSamples(time);
        });
        mSampleAt += samplePeriod();
    }

    float measure(uint32_t port, float value) override
    {
        return mPlayer.measure(port, value, mScenarios.mClock.elapsed());
    }

    Scenarios& mScenarios;
    Device& mDevice;
    ScenarioPlayer mPlayer;
    Time mSampleAt; ///< if the settings say how often
};

Scenarios::Scenarios(Owner* owner, const std::vector<std::unique_ptr<Device>>& devices,
                     const FleetSettings& settings, const cScaledClock& clock)
    : mOwner(*owner), mSettings(settings), mClock(clock)
{
    for (const auto& device : devices) {
        mPlayers.push_back(std::make_unique<DevicePlayer>(*this, *device));
    }
    mDone = mPlayers.size();
}

Scenarios::~Scenarios() = default;

void Scenarios::add(const Timetables& timetables)
{
    const Time now = mClock.elapsed();
    for (const auto& player : mPlayers) {
        for (const auto& timetable : timetables) {
            const uint32_t seed =
                mSettings.seedIsGiven ? mSettings.seed : timetable->scenario().seed.value_or(mSettings.seed);
            player->player().add(timetable, seed, now, true);
        }
        schedule(*player);
    }
}

bool Scenarios::advance()
{
    for (int left = kDevicesAtOnce; left > 0; --left) {
        const Time now = mClock.elapsed();
        if (mQueue.empty() || mQueue.begin()->first > now) {
            return false;
        }
        DevicePlayer& player = *mPlayers[mQueue.begin()->second];
        mActing = &player;
        player.player().advance(now);
        mActing = nullptr;
        schedule(player);
    }
    return true;
}

void Scenarios::schedule(DevicePlayer& player)
{
    const std::optional<Time> next = player.player().next();
    if (next != player.scheduled) {
        if (player.scheduled) {
            mQueue.erase({*player.scheduled, player.place()});
        }
        if (next) {
            mQueue.emplace(*next, player.place());
        }
        player.scheduled = next;
    }
    const bool wasDone = std::exchange(player.done, player.player().isDone());
    mDone = mDone - (wasDone ? 1 : 0) + (player.done ? 1 : 0);
}

int64_t Scenarios::nextUs() const
{
    if (mQueue.empty()) {
        return std::numeric_limits<int64_t>::max();
    }
    const auto now = std::chrono::duration_cast<std::chrono::microseconds>(cScaledClock::Real::now() -
                                                                           cScaledClock::Real::time_point());
    const auto due = std::chrono::ceil<std::chrono::microseconds>(mClock.realTime(mQueue.begin()->first) -
                                                                  cScaledClock::Real::time_point());
    return nowUs() + (due - now).count();
}

void Scenarios::portChanged(const Device& device)
{
    DevicePlayer& player = *mPlayers[device.index()];
    if (&player != mActing) {
        player.player().portChanged(mClock.elapsed());
        schedule(player);
    }
}

const ScenarioPlayer& Scenarios::player(const Device& device) const
{
    return mPlayers[device.index()]->player();
}

std::string readScenarios(const std::vector<std::string>& paths, const zuldevice::Counts& counts,
                          Scenarios::Timetables* timetables)
{
    for (const std::string& path : paths) {
        Scenario scenario;
        if (std::string mistake = readScenario(path, counts, &scenario); !mistake.empty()) {
            return mistake;
        }
        timetables->push_back(std::make_shared<const Timetable>(std::move(scenario)));
    }
    return "";
}

} // namespace fleet

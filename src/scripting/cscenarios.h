#pragma once

#include <QTimer>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "cdeviceobserver.h"
#include "zuldevice/scaledclock.h"
#include "zuldevice/sensors.h"
#include "zulscenario/scenarioplayer.h"
#include "zulscenario/scenarioreport.h"

class cDevice;

/// Plays scenarios on the live device, whose samples follow the same clock then.
///
/// GUI thread only.
class cScenarios : private zulscenario::PlayedDevice, private cSensors, private cDeviceObserver
{
public:
    /// @p setLink connects the device, or disconnects it.
    explicit cScenarios(std::function<void(bool up)> setLink);
    ~cScenarios() override;

    /// Called with the line that tells of a step.
    std::function<void(const zulcommand::JsonPtr&)> onStep = [](auto&) {};

    /// Called when all scenarios are done.
    std::function<void()> onDone = [] {};

    void setTimeScale(double scale) { mTimeScale = scale; }

    /// The device does nothing more, and takes no samples, once all scenarios are done.
    void stopWhenDone() { mStopsWhenDone = true; }

    /// In place of the scenarios' own seeds.
    void setSeed(uint32_t seed) { mSeed = seed; }

    /// The scenarios of the device before are over. Null if there is no device.
    void setDevice(cDevice* device);

    /// Reads the file @p path for the device and sets its inputs as the scenario starts. Returns the first
    /// mistake as "FILE:LINE:COLUMN: SENTENCE", or an empty text.
    std::string add(const std::string& path);

    /// The scenarios that were added begin, unless others have begun before.
    void begin();

    /// Of all devices so far.
    zulscenario::ScenarioReport report() const;

private:
    void setDigitalInput(uint32_t port, bool high) override;
    void setAnalogInput(uint32_t port, int value) override;
    void place(const zulscenario::Port& port, int value) override;
    void scan(uint32_t scanner, const std::string& code) override;
    void adhoc(uint32_t id, const std::string& label, const std::string& value) override;
    void setLink(bool up) override;
    double read(const zulscenario::Port& port) const override;
    std::optional<zulscenario::Time> nextSample() const override;
    void takeSamples(zulscenario::Time now) override;
    float measure(uint32_t port, float value) override;
    void portChanged(const cObjectPort& port) override;

    void makePlayer();
    uint32_t seedOf(const zulscenario::Scenario& scenario);
    zulscenario::Time now() const { return mBegun ? mClock.elapsed() : zulscenario::Time(); }
    void advance();
    void arm(bool moreIsDue);

    const std::function<void(bool)> mSetLink;
    cDevice* mDevice = nullptr;
    std::unique_ptr<zulscenario::ScenarioPlayer> mPlayer; ///< null until a scenario is added
    zulscenario::ScenarioReport mFormer;                  ///< of the devices before
    double mTimeScale = 1.0;
    bool mStopsWhenDone = false;
    std::optional<uint32_t> mSeed;
    std::optional<uint32_t> mChance; ///< the seed of scenarios that have none
    bool mTellsChance = false;
    cScaledClock mClock; ///< since begin()
    bool mBegun = false;
    bool mAdvancing = false;
    bool mDone = false; ///< that was told
    QTimer mTimer;
};

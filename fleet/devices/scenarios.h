#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "fleet/devices/device.h"
#include "fleet/devices/fleetsettings.h"
#include "zuldevice/scaledclock.h"
#include "zulscenario/scenarioreport.h"

namespace fleet {

/// Plays scenarios on each device of a fleet, with draws of its own. The devices' samples follow the same
/// clock then.
class Scenarios
{
public:
    using Timetables = std::vector<std::shared_ptr<const zulscenario::Timetable>>;

    /// Does what the scenarios want.
    class Owner
    {
    public:
        virtual ~Owner() = default;

        /// Has @p act report an event that was not planned.
        virtual void perform(Device& device, const std::function<void(PlainDevice&)>& act) = 0;
        virtual void setLink(Device& device, bool up) = 0;
        virtual void stepDone(Device& device, const zulscenario::ScenarioPlayer::Done& done) = 0;
    };

    /// All outlive it. Times count from the beginning of @p clock.
    Scenarios(Owner* owner, const std::vector<std::unique_ptr<Device>>& devices,
              const FleetSettings& settings, const cScaledClock& clock);
    ~Scenarios();

    /// Sets the inputs of all devices as the scenarios start, and plays them from now on.
    void add(const Timetables& timetables);

    /// Does what is due, in parts. Returns true if more is due.
    bool advance();

    /// When advance() is to be called next, in microseconds; the largest number for never.
    int64_t nextUs() const;

    /// A port of the device has changed.
    void portChanged(const Device& device);

    /// True if every scenario is done at every device.
    bool isDone() const { return mDone == mPlayers.size(); }

    const zulscenario::ScenarioPlayer& player(const Device& device) const;

private:
    class DevicePlayer;

    void schedule(DevicePlayer& player);

    Owner& mOwner;
    const FleetSettings& mSettings;
    const cScaledClock& mClock;
    std::vector<std::unique_ptr<DevicePlayer>> mPlayers;
    std::set<std::pair<zulscenario::Time, uint32_t>> mQueue; ///< when a player is next, and its place
    size_t mDone = 0;                                        ///< players that are
    const DevicePlayer* mActing = nullptr;
};

/// Reads the scenarios of @p paths for devices with @p counts. Returns the first mistake as
/// "FILE:LINE:COLUMN: SENTENCE", or an empty text.
std::string readScenarios(const std::vector<std::string>& paths, const zuldevice::Counts& counts,
                          Scenarios::Timetables* timetables);

} // namespace fleet

#pragma once

#include <boost/asio/io_context.hpp>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "fleet/devices/connectgate.h"
#include "fleet/devices/device.h"
#include "fleet/devices/fleetsettings.h"
#include "fleet/devices/runningoutage.h"
#include "fleet/devices/scenarios.h"
#include "fleet/devices/schedule.h"
#include "fleet/report/fleetreport.h"
#include "zuldevice/scaledclock.h"

namespace fleet {

/// The devices of one process: has them connect, report events and lose their connections when it is time,
/// and counts what becomes of it. One thread.
class Fleet : private Device::Owner, private Scenarios::Owner
{
public:
    /// What the devices are doing now.
    struct Progress
    {
        uint64_t in = 0;
        uint64_t connecting = 0;
        uint64_t down = 0;
        uint64_t sent = 0; ///< events so far
        uint64_t late = 0;
        double seconds = 0.0; ///< since start()
    };

    /// Told what happens to the devices; for a control socket.
    class Observer
    {
    public:
        virtual ~Observer() = default;
        virtual void linkChanged(Device& device) = 0;
        virtual void setReceived(Device& device, cObjectList& message) = 0;
        virtual void stepDone(Device& device, const zulscenario::ScenarioPlayer::Done& done) = 0;

        // Around whatever may change the ports of a device.
        virtual void beforeChange(Device& device) = 0;
        virtual void afterChange(Device& device) = 0;
    };

    Fleet(boost::asio::io_context& io, const FleetSettings& settings, ServerTarget target);

    /// Called once, when the duration is over or, if the settings say so, the scenarios are done.
    std::function<void()> onEnd = [] {};

    void start();

    /// Everything that was measured. May be called at any time.
    FleetReport report() const;

    Progress progress() const;

    /// Plays @p timetables on each device, from start() on or, later, from now on.
    void play(const Scenarios::Timetables& timetables);

    /// What has become of the scenarios at @p devices.
    zulscenario::ScenarioReport scenarioReport(const std::vector<Device*>& devices) const;
    zulscenario::ScenarioReport scenarioReport() const;

    /// Null for none.
    void setObserver(Observer* observer) { mObserver = observer; }

    /// Of each device.
    const zuldevice::Counts& counts() const { return mSettings.counts; }

    const std::vector<std::unique_ptr<Device>>& devices() const { return mDevices; }

    /// Null if this process does not play the device with this serial number.
    Device* device(uint32_t serial) const;

    /// Has @p act(PlainDevice&) report an event that was not planned. Returns what it returns.
    template <class Act>
    auto act(Device& device, Act act)
    {
        return change(device, [&] { return device.report(eMessage::OTHER_EVENT, nowUs(), act); });
    }

    /// The device stays down until connect(), which is no loss.
    void disconnect(Device& device);
    void connect(Device& device) { device.releaseNow(); }

private:
    void readyToConnect(Device& device) override;
    void connected(Device& device, int64_t sinceUs) override;
    void refused(Device& device, const std::string& reason) override;
    void identified(Device& device, int64_t sinceUs) override;
    void lost(Device& device, const std::string& reason) override;
    void written(eMessage message, int64_t sinceUs) override;
    void dropped(eMessage message) override;
    void setReceived(Device& device, cObjectList& message) override;
    void setApplied(Device& device) override;

    void perform(Device& device, const std::function<void(PlainDevice&)>& act) override;
    void setLink(Device& device, bool up) override;
    void stepDone(Device& device, const zulscenario::ScenarioPlayer::Done& done) override;

    struct Record
    {
        bool settled = false; ///< was in or has been refused
        bool everIn = false;
        bool planned = false; ///< an outage took it down, and it was not in since
        uint32_t reason = 0;  ///< why it was refused last, in mReasons; 0 for never
    };

    void addDevices();
    void tick();
    void arm(int64_t nowUs);
    bool connectDue(int64_t nowUs);
    bool reportEvents(int64_t nowUs);
    bool takeSamples(int64_t nowUs);
    void beginOutages(int64_t nowUs);
    void beginOutage(const OutagePlan::Step& step, int64_t nowUs);
    void endStorms(int64_t nowUs);
    void begin(Device& device, int64_t sinceUs, int64_t nowUs);
    void reportEvent(uint64_t step, int64_t dueUs);
    void settle(Device& device);
    bool areScenariosOver();
    void beginEvents();
    template <class Act>
    auto change(Device& device, Act act)
    {
        if (mObserver != nullptr) {
            mObserver->beforeChange(device);
        }
        const auto result = act();
        if (mObserver != nullptr) {
            mObserver->afterChange(device);
        }
        if (mScenarios) {
            mScenarios->portChanged(device);
        }
        return result;
    }
    uint32_t reasonNumber(const std::string& reason);
    Record& record(const Device& device) { return mRecords[device.index()]; }
    EventCounts& counts(eMessage message) { return mReport.kinds[static_cast<size_t>(message)]; }

    const FleetSettings mSettings;
    const uint32_t mCount; ///< of the devices of this process
    boost::asio::io_context& mIo;
    ServerTarget mTarget;
    std::ostream mNoTrace{nullptr};
    Device::Shared mShared;
    std::vector<std::unique_ptr<Device>> mDevices;
    std::vector<Record> mRecords;
    std::vector<std::string> mReasons = {""};
    LinkTimer mTimer;
    cScaledClock mClock;
    Observer* mObserver = nullptr;

    // Connecting.
    int64_t mStartUs = 0;
    Schedule mConnects;
    ConnectGate mGate;
    uint32_t mBegun = 0; ///< devices that have begun for the first time
    int64_t mLastBegunUs = 0;
    std::deque<Device*> mReady;
    uint32_t mSettled = 0;
    uint32_t mEverIn = 0;
    uint64_t mHeapBefore = 0;

    // Events.
    std::optional<int64_t> mEventsUs; ///< when they began
    Schedule mEvents;
    uint64_t mEventStep = 0;
    double mProcessorBefore = 0.0;

    // Outages.
    OutagePlan mPlan;
    std::vector<RunningOutage> mOutages;
    std::multimap<int64_t, size_t> mStormEnds; ///< with the place of the storm in mStorms
    std::vector<std::vector<uint32_t>> mStorms;

    // Samples.
    Schedule mSamples;
    uint64_t mSampleStep = 0;

    Scenarios::Timetables mTimetables;     ///< to be played from start() on
    std::unique_ptr<Scenarios> mScenarios; ///< null without scenarios

    bool mEnded = false;
    FleetReport mReport;
};

} // namespace fleet

#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zulscenario/scenarioplayer.h"

/// A device that writes down what is done with it.
class WrittenDevice : public zulscenario::PlayedDevice
{
public:
    void setDigitalInput(uint32_t port, bool high) override
    {
        double& value = mValues[{OBJ_PORT_DIN, port}];
        if (value != (high ? 1.0 : 0.0)) {
            value = high ? 1.0 : 0.0;
            write("din " + std::to_string(port) + (high ? " high" : " low"));
        }
    }

    void setAnalogInput(uint32_t port, int value) override
    {
        mValues[{OBJ_PORT_AIN, port}] = value;
        values.push_back(value);
        write("ain " + std::to_string(port) + ' ' + std::to_string(value) + measured(port, value));
    }

    void place(const zulscenario::Port& port, int value) override
    {
        mValues[{port.type, port.number}] = value;
    }
    void scan(uint32_t scanner, const std::string& code) override
    {
        write("scan " + std::to_string(scanner) + ' ' + code);
    }
    void adhoc(uint32_t id, const std::string& label, const std::string& value) override
    {
        write("adhoc " + std::to_string(id) + ' ' + label + ' ' + value);
    }
    void setLink(bool up) override { write(up ? "link up" : "link down"); }

    double read(const zulscenario::Port& port) const override
    {
        const auto value = mValues.find({port.type, port.number});
        return value == mValues.end() ? 0.0 : value->second;
    }

    std::optional<zulscenario::Time> nextSample() const override { return sampleAt; }
    void takeSamples(zulscenario::Time at) override
    {
        write("sample" + measured(1, static_cast<int>(read({OBJ_PORT_AIN, 1}))));
        sampleAt = at + sampleEvery;
    }

    /// As the server does it.
    void setOutput(bool high) { mValues[{OBJ_PORT_DOUT, 1}] = high ? 1.0 : 0.0; }

    void write(const std::string& what)
    {
        const double seconds = std::chrono::duration<double>(*now).count();
        std::string text = std::to_string(seconds);
        text.erase(text.find_last_not_of('0') + 1);
        text += text.ends_with('.') ? "0 " : " ";
        log += (log.empty() ? "" : "; ") + text + what;
        times.push_back(*now);
        events.push_back(what);
    }

    /// What is written of a value of an analog input.
    std::function<std::string(uint32_t port, int value)> measured = [](auto, auto) { return ""; };

    std::string log;
    std::vector<std::string> events; ///< as in the log, without their times
    std::vector<zulscenario::Time> times;
    std::vector<int> values; ///< of analog inputs
    std::optional<zulscenario::Time> sampleAt;
    zulscenario::Time sampleEvery = {};
    const zulscenario::Time* now = nullptr;

private:
    std::map<std::pair<eObjectTypes, uint32_t>, double> mValues;
};

/// Plays scenarios with a clock of its own, which stands where the player wants to be called.
class Playback
{
public:
    explicit Playback(uint32_t serial = 1, uint32_t index = 0)
        : player(&device, serial, index, std::chrono::milliseconds(10))
    {
        device.now = &now;
        player.onStep = [this](const zulscenario::ScenarioPlayer::Done& done) { steps.push_back(done); };
        player.onMissed = [this](const zulscenario::Timetable&, const std::string& why) {
            missed.push_back(why);
        };
    }

    Playback& add(zulscenario::Scenario scenario, uint32_t seed = 7, bool spread = false)
    {
        player.add(std::make_shared<const zulscenario::Timetable>(std::move(scenario)), seed, now, spread);
        return *this;
    }

    /// Lets the time pass to @p end, in steps of the resolution.
    Playback& run(zulscenario::Time end)
    {
        for (auto next = player.next(); next && *next <= end; next = player.next()) {
            now = std::max(now, (*next + resolution - zulscenario::Time(1)) / resolution * resolution);
            while (player.advance(now)) {
            }
        }
        now = end;
        return *this;
    }

    /// Comes late: everything up to @p time is done then.
    void comeLateAt(zulscenario::Time time)
    {
        now = time;
        while (player.advance(now)) {
        }
    }

    void serverSets(bool high)
    {
        device.setOutput(high);
        player.portChanged(now);
    }

    zulscenario::Time now = {};
    zulscenario::Time resolution = zulscenario::Time(1);
    WrittenDevice device;
    zulscenario::ScenarioPlayer player;
    std::vector<zulscenario::ScenarioPlayer::Done> steps;
    std::vector<std::string> missed;
};

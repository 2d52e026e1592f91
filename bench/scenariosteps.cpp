// Measures the player of scenarios with the devices of a fleet, without sockets: lines "KIND STEPS", steps in
// a second of the processor. Each step is an event of one of 500 devices, encoded as for its link.

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "figures.h"
#include "zuldevice/plaindevice.h"
#include "zulscenario/scenarioplayer.h"

namespace {

using namespace zulscenario;

constexpr uint32_t kDevices = 500;
constexpr zuldevice::Counts kCounts{4, 4, 2, 2, 1};

class Played : public PlayedDevice
{
public:
    explicit Played(uint32_t serial)
        : mPlain(
              kCounts, "SITE", 1, serial, 0,
              [this](cObjectList* list) {
                  WMsg message;
                  encoded += list->encode(&message).isOk() ? 1 : 0;
              },
              mNoTrace)
    {}

    void setDigitalInput(uint32_t port, bool high) override { mPlain.setDigitalInput(port, high); }
    void setAnalogInput(uint32_t port, int value) override { mPlain.setAnalogInput(port, value); }
    void place(const Port&, int) override {}
    void scan(uint32_t scanner, const std::string& code) override { mPlain.scan(scanner, code.c_str()); }
    void adhoc(uint32_t id, const std::string& label, const std::string& value) override
    {
        mPlain.adhoc(id, label.c_str(), value.c_str());
    }
    void setLink(bool) override {}
    double read(const Port& port) const override { return valueOf(*mPlain.digitalInputs()[port.number - 1]); }
    std::optional<Time> nextSample() const override { return std::nullopt; }
    void takeSamples(Time) override {}

    uint64_t encoded = 0;

private:
    std::ostream mNoTrace{nullptr};
    PlainDevice mPlain;
};

double stepsASecond(const Action& action, int seconds)
{
    Scenario scenario;
    scenario.name = "steps";
    scenario.steps.push_back(
        {Every{std::chrono::milliseconds(5), std::chrono::milliseconds(2), std::nullopt}, action, {}, 1});
    const auto timetable = std::make_shared<const Timetable>(scenario);
    std::vector<std::unique_ptr<Played>> devices;
    std::vector<std::unique_ptr<ScenarioPlayer>> players;
    for (uint32_t serial = 1; serial <= kDevices; ++serial) {
        devices.push_back(std::make_unique<Played>(serial));
        players.push_back(
            std::make_unique<ScenarioPlayer>(devices.back().get(), serial, serial - 1, Time(10'000)));
        players.back()->add(timetable, 7, Time());
    }
    const std::clock_t begun = std::clock();
    for (Time now = Time(); now < std::chrono::seconds(seconds); now += std::chrono::milliseconds(1)) {
        for (const auto& player : players) {
            while (player->advance(now)) {
            }
        }
    }
    const double took = static_cast<double>(std::clock() - begun) / CLOCKS_PER_SEC;
    uint64_t steps = 0;
    uint64_t encoded = 0;
    for (uint32_t i = 0; i < kDevices; ++i) {
        steps += players[i]->counts().done;
        encoded += devices[i]->encoded;
    }
    if (steps != encoded) {
        std::fprintf(stderr, "a step made no event\n");
        std::exit(1);
    }
    return static_cast<double>(steps) / took;
}

} // namespace

/// The argument: how many seconds of the scenario are measured in a round.
int main(int argc, char** argv)
{
    constexpr int kRounds = 5;
    const int seconds = argc > 1 ? std::stoi(argv[1]) : 5;
    const std::pair<const char*, Action> kinds[] = {{"toggle", Toggle{{OBJ_PORT_DIN, 1}}},
                                                    {"scan", Scan{1, "{serial}-{n}"}}};
    for (const auto& [name, action] : kinds) {
        std::vector<double> rounds;
        for (int i = 0; i < kRounds; ++i) {
            rounds.push_back(stepsASecond(action, seconds));
        }
        figures::print(name, rounds);
    }
}

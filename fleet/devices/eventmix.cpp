#include "fleet/devices/eventmix.h"

#include <algorithm>
#include <numeric>
#include <sstream>

#include "zulcommand/commandwords.h"

namespace fleet {

using zulcommand::quote;

namespace {

constexpr std::array<uint32_t, kEventKinds.size()> kUsualShares = {70, 20, 5, 5};
constexpr std::array<const char*, kEventKinds.size()> kPortNames = {"digital input", "analog input",
                                                                    "scanner", "ad-hoc event"};
constexpr uint32_t kMaxShare = 1'000'000;
constexpr uint32_t kMaxAdhocId = 99;
constexpr uint32_t kMaxSample = 100;

/// From 0 to @p count - 1.
uint32_t below(cSeededRandom* random, uint64_t count)
{
    return static_cast<uint32_t>(random->nextFraction() * static_cast<double>(count));
}

} // namespace

void EventMix::setPorts(const zuldevice::Counts& counts)
{
    mPorts = {counts.digitalInputs, counts.analogInputs, counts.scanners, kMaxAdhocId};
}

EventMix EventMix::usual(const zuldevice::Counts& counts)
{
    EventMix mix;
    mix.setPorts(counts);
    for (size_t kind = 0; kind < mix.mShares.size(); ++kind) {
        mix.mShares[kind] = mix.mPorts[kind] > 0 ? kUsualShares[kind] : 0;
    }
    return mix;
}

std::string EventMix::parse(const std::string& text, const zuldevice::Counts& counts, EventMix* mix)
{
    *mix = EventMix();
    mix->setPorts(counts);
    std::array<bool, kEventKinds.size()> given{};
    std::istringstream parts(text);
    for (std::string part; std::getline(parts, part, ',');) {
        const size_t equals = std::min(part.find('='), part.size());
        const std::string name = part.substr(0, equals);
        const auto kind = static_cast<size_t>(std::ranges::find(kEventKinds, name) - kEventKinds.begin());
        if (kind == kEventKinds.size()) {
            return "--mix has a kind that is none of din, ain, scan and adhoc: " + quote(part) + ".";
        }
        const std::string number = part.substr(std::min(equals + 1, part.size()));
        const std::optional<uint32_t> share = zulcommand::parseNumber(number, 0, kMaxShare);
        if (!share) {
            return zulcommand::numberMistake("--mix: " + name, number, 0, kMaxShare);
        }
        if (given[kind]) {
            return "--mix has " + quote(name) + " twice.";
        }
        given[kind] = true;
        if (*share > 0 && mix->mPorts[kind] == 0) {
            return "--mix has " + quote(name) + ", but the devices have no " + kPortNames[kind] + ".";
        }
        mix->mShares[kind] = *share;
    }
    return mix->sum() > 0 ? "" : "--mix does not add up to anything: " + quote(text) + ".";
}

uint64_t EventMix::sum() const { return std::accumulate(mShares.begin(), mShares.end(), uint64_t{0}); }

EventMix::Event EventMix::draw(uint32_t seed, uint64_t step, uint32_t devices) const
{
    cSeededRandom random(seed, "event", step);
    Event event;
    uint64_t share = below(&random, sum());
    size_t kind = 0;
    while (share >= mShares[kind]) {
        share -= mShares[kind++];
    }
    event.kind = static_cast<eEventKind>(kind);
    event.device = below(&random, devices);
    event.number = below(&random, mPorts[kind]) + 1;
    event.value = below(&random, event.kind == eEventKind::SCAN ? uint64_t{1} << 32 : kMaxSample + 1);
    return event;
}

} // namespace fleet

// Recorded sessions under rules. The input: a byte that picks the rules by its bits, a byte that is the seed,
// then a capture file.

#include <iterator>
#include <sstream>

#include "fuzzinput.h"
#include "heldmemory.h"
#include "property.h"
#include "proxy/replay/replay.h"
#include "proxy/rules/ruleparser.h"

namespace {

/// Far more than a small recording needs.
constexpr size_t kMaxMemory = 64 * 1024 * 1024;

const char* const kRules[] = {
    "accept-late ms=100 p=0.5", "refuse every=3",  "stall for=1 every=2", "late ms=50 p=0.3",
    "duplicate device=1-1000",  "rate bytes=1000", "cut after=2",         "lose reconnect=2",
};

/// A line for each fault.
std::vector<std::string> play(const std::string& file, const proxy::Replay::Settings& settings)
{
    std::vector<std::string> faults;
    proxy::Replay replay(settings);
    replay.onFault = [&](const proxy::Fault& fault, int64_t timeNs) {
        require(fault.rule >= 1 && fault.rule <= settings.rules.size(), "a fault is one of a rule");
        require(fault.connection >= 1, "a fault has its connection");
        require(timeNs >= 0, "a fault has its time");
        faults.push_back(std::to_string(timeNs) + ' ' + std::to_string(fault.connection) + ' ' + fault.was +
                         ' ' + fault.became);
    };
    replay.onProblem = [](const std::string& sentence) {
        require(sentence.ends_with('.'), "a problem is a sentence");
    };
    std::istringstream stream(file);
    cPacketReader reader(&stream);
    sPacket packet;
    const size_t before = heldMemory();
    while (reader.next(&packet) == cCaptureFormat::PACKET) {
        replay.add(packet, reader);
        require(heldMemory() < before + kMaxMemory, "memory is bounded");
    }
    replay.finish();
    return faults;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    proxy::Replay::Settings settings;
    const uint8_t chosen = input.number8();
    for (size_t i = 0; i < std::size(kRules); ++i) {
        if ((chosen >> i & 1) != 0) {
            require(proxy::parseRule(kRules[i], &settings.rules.emplace_back()).empty(),
                    "the rules are sound");
        }
    }
    settings.seed = input.number8();
    const std::string file = input.restText();
    const auto faults = play(file, settings);
    require(settings.rules.size() > 0 || faults.empty(), "without rules there are no faults");
    require(play(file, settings) == faults, "the same seed does the same again");
    return 0;
}

// The same seed and the same messages give the same faults, whatever else differs.

#include <algorithm>
#include <map>
#include <random>
#include <tuple>

#include "faultypipe.h"
#include "messages.h"

namespace proxy {

namespace {

constexpr uint32_t kDevices = 50;

const std::vector<std::string> kRules = {
    "lose p=0.05",
    "duplicate p=0.1 msg=event",
    "swap p=0.1",
    "hold until=2 p=0.05",
    "corrupt bits=2 p=0.1",
    "corrupt bits=2 p=0.1", // a twin
    "wrong-number every=7",
    "unknown-tag p=0.2 object=OBJ_ANALOG_SAMPLE",
    "field portNum=9 p=0.1 dir=to-server",
    "wrong-serial p=0.1 device=30% dir=to-server",
    "empty-segments n=2 p=0.1 device=1000-1020 dir=to-server",
    "delay ms=5 jitter=5 p=0.3",
    "slice bytes=3-900 p=0.2",
};

/// What one side of the conversation of a device sends.
std::vector<Bytes> conversationOf(uint32_t serial, eDirection direction)
{
    std::vector<Bytes> messages;
    for (uint8_t seq = 1; seq <= 40; ++seq) {
        if (direction == kToDevice) {
            messages.push_back(request(seq, seq == 1 ? 0xFFFFFFFF : serial));
        } else {
            messages.push_back(seq % 9 == 0 ? large(seq, 3000 + seq * 100U, serial)
                                            : sample(seq, serial, seq % 3U));
        }
        if (seq % 10 == 0) {
            messages.push_back(ping());
        }
    }
    return messages;
}

/// Everything about a fault but the number of its rule, the connection and what was known of the device.
using FaultText =
    std::tuple<eFault, std::optional<uint8_t>, std::optional<uint32_t>, std::string, std::string>;

struct Seen
{
    std::vector<FaultText> faults;
    Bytes out;

    bool operator==(const Seen&) const = default;
};

/// By device and direction.
using Outcome = std::map<std::pair<uint32_t, eDirection>, Seen>;

/// A device's connection, and how far its conversation has come.
class Talk
{
public:
    Talk(FaultyProxy* proxy, uint32_t serial, uint64_t number, int64_t nowNs)
        : mSerial(serial), mPipe(proxy, number, nowNs)
    {
        for (const eDirection direction : kDirections) {
            for (const Bytes& message : conversationOf(serial, direction)) {
                Bytes& all = mBytes[static_cast<size_t>(direction)];
                all.insert(all.end(), message.begin(), message.end());
            }
        }
        mFirst = conversationOf(serial, kToDevice).front().size();
    }

    /// Sends a piece of one direction. The server's first message may come before the device has told its
    /// number; what depends on it comes later. False if nothing is left.
    bool step(std::mt19937& random)
    {
        const eDirection direction = random() % 2 == 0 ? kToServer : kToDevice;
        size_t& at = mAt[static_cast<size_t>(direction)];
        const Bytes& all = mBytes[static_cast<size_t>(direction)];
        size_t size = std::min<size_t>(all.size() - at, 1 + random() % (random() % 4 == 0 ? 5000 : 40));
        if (direction == kToDevice && !mPipe.connection().deviceSerial()) {
            size = std::min(size, mFirst - std::min(mFirst, at));
        }
        mPipe.pass(static_cast<int64_t>(random() % (8 * kMs)));
        if (size > 0) {
            mPipe.send(direction, part(all, at, size));
            at += size;
        }
        return mAt[0] < mBytes[0].size() || mAt[1] < mBytes[1].size();
    }

    void finish(uint32_t addedRule, Outcome* run)
    {
        mPipe.finish(kToServer);
        mPipe.finish(kToDevice);
        mPipe.pass(kSecond);
        for (const eDirection direction : kDirections) {
            (*run)[{mSerial, direction}].out = mPipe.take(direction);
        }
        for (const Fault& fault : mPipe.faults) {
            if (fault.rule != addedRule) {
                (*run)[{mSerial, *fault.direction}].faults.emplace_back(
                    fault.kind, fault.msgSeq, fault.object, fault.was, fault.became);
            }
        }
    }

private:
    const uint32_t mSerial;
    FaultyPipe mPipe;
    Bytes mBytes[2];
    size_t mAt[2] = {};
    size_t mFirst = 0;
};

/// @p chance decides the order of the devices, pieces and times. @p added is a further rule, put before the
/// others.
Outcome runOnce(uint64_t seed, uint32_t chance, const std::string& added = "")
{
    std::mt19937 random(chance);
    FaultyProxy proxy;
    proxy.seed = seed;
    const uint32_t addedRule = added.empty() ? 0 : proxy.add(added);
    for (const std::string& rule : kRules) {
        proxy.add(rule);
    }
    std::vector<uint32_t> serials;
    for (uint32_t i = 0; i < kDevices; ++i) {
        serials.push_back(1000 + i);
    }
    std::shuffle(serials.begin(), serials.end(), random);
    std::vector<std::unique_ptr<Talk>> talks;
    for (const uint32_t serial : serials) {
        talks.push_back(std::make_unique<Talk>(&proxy, serial, talks.size() + 1, random() % kSecond));
    }
    Outcome run;
    while (!talks.empty()) {
        const size_t which = random() % talks.size();
        if (!talks[which]->step(random)) {
            talks[which]->finish(addedRule, &run);
            talks.erase(talks.begin() + static_cast<std::ptrdiff_t>(which));
        }
    }
    return run;
}

size_t countFaults(const Outcome& run)
{
    size_t count = 0;
    for (const auto& [key, seen] : run) {
        count += seen.faults.size();
    }
    return count;
}

bool sameFaults(const Outcome& left, const Outcome& right)
{
    return std::ranges::equal(left, right, [](const auto& one, const auto& other) {
        return one.first == other.first && one.second.faults == other.second.faults;
    });
}

} // namespace

TEST(RepeatableTest, orderPiecesAndTimesChangeNothing)
{
    const Outcome first = runOnce(1, 1);
    EXPECT_GT(countFaults(first), 3000U);
    for (const uint32_t chance : {2U, 3U, 4U}) {
        EXPECT_TRUE(runOnce(1, chance) == first) << chance; // printing them would take pages
    }
}

TEST(RepeatableTest, anotherSeedGivesOtherFaults) { EXPECT_FALSE(sameFaults(runOnce(1, 1), runOnce(2, 1))); }

TEST(RepeatableTest, anotherRuleDoesNotChangeWhatTheOthersDo)
{
    const Outcome first = runOnce(1, 1);
    for (const char* added : {"duplicate p=0.5", "lose type=99", "late ms=3 p=0.2", "delay ms=3 jitter=1",
                              "rate bytes=1000000", "stall for=0.01", "slow_close delay=5"}) {
        EXPECT_TRUE(sameFaults(runOnce(1, 5, added), first)) << added;
    }
}

TEST(RepeatableTest, devicesHaveFaultsOfTheirOwn)
{
    const Outcome run = runOnce(1, 1);
    std::vector<std::vector<FaultText>> faults;
    for (const auto& [key, seen] : run) {
        faults.push_back(seen.faults);
    }
    std::ranges::sort(faults);
    EXPECT_TRUE(std::ranges::adjacent_find(faults) == faults.end());
}

TEST(RepeatableTest, theConnectionsOfADeviceHaveFaultsOfTheirOwn)
{
    FaultyProxy proxy;
    proxy.add("lose p=0.5");
    std::vector<std::string> lost;
    for (uint64_t number = 1; number <= 3; ++number) {
        FaultyPipe pipe(&proxy, number);
        lost.emplace_back();
        for (int i = 0; i < 64; ++i) {
            pipe.send(kToServer, sample(1));
            lost.back() += pipe.take(kToServer).empty() ? 'x' : '.';
        }
    }
    EXPECT_NE(lost[0], lost[1]);
    EXPECT_NE(lost[1], lost[2]);
}

TEST(RepeatableTest, twinsDrawNumbersOfTheirOwn)
{
    FaultyProxy proxy;
    proxy.add("late ms=0 p=0.5");
    proxy.add("late ms=0 p=0.5");
    FaultyPipe pipe(&proxy);
    for (uint8_t seq = 0; seq < 64; ++seq) {
        pipe.send(kToServer, sample(seq));
    }
    std::vector<int> late[2];
    for (const Fault& fault : pipe.faults) {
        late[fault.rule - 1].push_back(*fault.msgSeq);
    }
    EXPECT_GT(late[0].size(), 10U);
    EXPECT_GT(late[1].size(), 10U);
    EXPECT_NE(late[0], late[1]);
}

TEST(RepeatableTest, pingsDoNotMoveWhatIsDrawnForMessages)
{
    const auto lost = [](bool withPings) {
        FaultyProxy proxy;
        proxy.add("lose p=0.5 msg=event");
        FaultyPipe pipe(&proxy);
        std::string result;
        for (int i = 0; i < 64; ++i) {
            if (withPings) {
                pipe.send(kToServer, ping());
                pipe.take(kToServer);
            }
            pipe.send(kToServer, sample(1));
            result += pipe.take(kToServer).empty() ? 'x' : '.';
        }
        return result;
    };
    EXPECT_EQ(lost(true), lost(false));
}

} // namespace proxy

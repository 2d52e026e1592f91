// A connection through the proxy, by a clock that the input moves and without a socket. The input: a byte
// that picks how many rules there are at first and whether they keep the bytes, a byte for each of them, and
// a list of steps; see step() for their codes.

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "fuzzinput.h"
#include "property.h"
#include "proxy/faults/faultline.h"
#include "proxy/faults/faultyconnection.h"
#include "proxy/rules/ruleparser.h"
#include "wmsg/wbytes.h"
#include "wmsg/wmsg.h"

namespace {

using namespace proxy;

using Bytes = std::vector<uint8_t>;

/// The maximum number of steps for one input.
constexpr size_t kMaxSteps = 500;

constexpr size_t kLargestMessage = wmsg::kMaxMessageBytes + (wmsg::kMaxSegments + 1) * wmsg::kMaxSegmentSize;

/// Rules that let all bytes pass, in their order, sooner or later.
constexpr auto kKeeping = std::to_array<const char*>({
    "delay ms=10",
    "delay ms=5 jitter=5 p=0.5",
    "rate bytes=100000",
    "rate bytes=7 msg=event",
    "slice bytes=1-9 gap=1",
    "slice bytes=100 every=2",
    "join bytes=100",
    "join bytes=65536 msg=answer",
    "stall for=1 every=3",
    "lose p=0",
    "nan object=OBJ_PORT_AIN p=0",
    "slow_close delay=20",
});

constexpr auto kOthers = std::to_array<const char*>({
    "lose p=0.5",
    "duplicate",
    "late ms=7 every=2",
    "swap",
    "swap p=0.3",
    "hold until=3",
    "truncate skip=4",
    "wrong-checksum p=0.5",
    "wrong-number",
    "wrong-type",
    "unknown-flag",
    "too-long every=3",
    "empty-segments n=3",
    "never-last every=2",
    "corrupt bits=3",
    "corrupt bits=4000000000 every=5",
    "limit bytes=300",
    "field portNum=7",
    "field portLabel=\"a longer label than there was\"",
    "field portLabel=null",
    "wrong-serial",
    "unknown-object",
    "unknown-tag",
    "drop-tag deviceSerial",
    "wrong-length portLabel",
    "wrong-length portNum",
    "drop-record p=0.5",
    "double-record",
    "nan",
    "lose device=1001",
    "lose device=50% reconnect=1 dir=to-device",
    "silence skip=3 dir=to-server",
    "silence after=0.01 for=0.02",
    "stall for=0.5 after=0.1",
    "half-close skip=9",
    "half-close after=0.2 dir=to-device",
    "cut skip=9",
    "reset after=1",
    "timeout timeout=100 after=0.3",
    "accept-late ms=3",
    "refuse p=0.1",
});

/// The bytes of one direction without the control messages, however these stand between segments.
Bytes withoutPings(const Bytes& bytes)
{
    Bytes rest;
    size_t at = 0;
    while (bytes.size() - at >= wmsg::kHeaderSize) {
        const uint8_t* header = bytes.data() + at;
        const size_t length = wmsg::get32(header + 8);
        const bool sound = wmsg::get16(header) == wmsg::kMagic && header[2] == wmsg::kVersion &&
                           length <= wmsg::kMaxSegmentPayload &&
                           length <= bytes.size() - at - wmsg::kHeaderSize;
        if (!sound) {
            break;
        }
        const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(at);
        at += wmsg::kHeaderSize + length;
        if ((header[3] & wmsg::kFlagControl) == 0) {
            rest.insert(rest.end(), begin, bytes.begin() + static_cast<std::ptrdiff_t>(at));
        }
    }
    rest.insert(rest.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.end());
    return rest;
}

class Pipe : private FaultyConnection::Owner
{
public:
    Pipe(RuleSet* rules, bool keeps) : mRules(*rules), mKeeps(keeps), mWithoutRules(rules->all().empty())
    {
        mConnection.begin(0);
        reachServer();
        check();
    }

    void step(FuzzInput* input)
    {
        const eDirection direction =
            (input->number8() & 1) == 0 ? eDirection::TO_SERVER : eDirection::TO_DEVICE;
        switch (input->number8() % 10) {
        case 0:
            feed(direction, input->bytes(input->number8()));
            break;
        case 1:
        case 2:
            feed(direction, message(input));
            break;
        case 3: {
            const Bytes whole = message(input);
            const size_t size = input->number16() % (whole.size() + 1);
            feed(direction, Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
            feed(direction, Bytes(whole.begin() + static_cast<std::ptrdiff_t>(size), whole.end()));
            break;
        }
        case 4:
            pass(int64_t{input->number16()} * 100'000);
            break;
        case 5:
            write(direction, input->number16());
            break;
        case 6:
            end(direction);
            break;
        case 7:
            clear(input->number8());
            break;
        case 8:
            add(input->number8());
            break;
        default:
            command(input->number8());
        }
        check();
    }

    /// Clears the rules: then nothing may be held.
    void finish()
    {
        mRules.clear();
        mConnection.advance(mNowNs);
        reachServer();
        drain();
        check();
        for (const eDirection direction : kDirections) {
            require(mConnection.output(direction).empty(), "what is let go can be written");
            if (mKeeps && !mEnded[index(direction)]) {
                require(mConnection.wantsMore(direction), "no sender is left waiting");
            }
            if (mKeeps) {
                require(withoutPings(mOut[index(direction)]) == withoutPings(mIn[index(direction)]) &&
                            mOut[index(direction)].size() == mIn[index(direction)].size(),
                        "what comes out is what came in");
            }
        }
        require(!mKeeps || mConnection.deadline() == FaultyConnection::kNever, "nothing is left to do");
        for (const auto& rule : mKnown) {
            require(rule->injected <= rule->matched, "what is injected has matched");
        }
    }

    void know(const RulePtr& rule) { mKnown.push_back(rule); }

private:
    static size_t index(eDirection direction) { return static_cast<size_t>(direction); }

    static Bytes message(FuzzInput* input)
    {
        WMsg message;
        const uint8_t flags = input->number8();
        message.control = (flags & 4) != 0;
        message.answer = (flags & 1) != 0;
        message.event = (flags & 2) != 0;
        message.type = static_cast<uint8_t>(flags >> 6);
        message.seq = input->number8();
        for (uint8_t left = flags >> 3 & 3; left > 0 && !message.control; --left) {
            addRecord(input, &message.payload);
        }
        Bytes bytes;
        message.appendFrames(bytes);
        return bytes;
    }

    /// A record of a few tags, or other bytes.
    static void addRecord(FuzzInput* input, Bytes* payload)
    {
        const uint8_t choice = input->number8();
        if (choice == 0xFF) {
            payload->resize(payload->size() + input->number16());
            return;
        }
        Bytes tags;
        for (uint8_t left = choice >> 5; left > 0; --left) {
            const uint8_t number = input->number8() % 34;
            const uint16_t size = number % 2 == 0 ? 4 : input->number16() % 4000;
            Bytes value = input->bytes(std::min<uint16_t>(size, 8));
            value.resize(size);
            const std::array<uint8_t, 4> header = {0, number, static_cast<uint8_t>(size >> 8),
                                                   static_cast<uint8_t>(size)};
            tags.insert(tags.end(), header.begin(), header.end());
            tags.insert(tags.end(), value.begin(), value.end());
        }
        std::array<uint8_t, 8> header = {0, 0, 0, static_cast<uint8_t>(choice & 0x1F)};
        wmsg::put32(header.data() + 4, static_cast<uint32_t>(tags.size()));
        payload->insert(payload->end(), header.begin(), header.end());
        payload->insert(payload->end(), tags.begin(), tags.end());
    }

    /// The bytes are gone when the call returns.
    void feed(eDirection direction, const Bytes& bytes)
    {
        if (mEnded[index(direction)] || !mConnection.wantsMore(direction)) {
            return;
        }
        Bytes& in = mIn[index(direction)];
        in.insert(in.end(), bytes.begin(), bytes.end());
        const Bytes buffer = bytes;
        const bool empty = mConnection.output(direction).empty();
        mConnection.received(direction, buffer, mNowNs);
        if (mWithoutRules && empty && !bytes.empty()) {
            const std::span<const uint8_t> out = mConnection.output(direction);
            require(out.data() == buffer.data() && out.size() == buffer.size(),
                    "without rules a piece passes as it came");
        }
        for (const eDirection each : kDirections) {
            mConnection.keepOutput(each);
        }
        const size_t held = in.size() - mOut[index(direction)].size();
        require(!mKeeps || held <= (mKnown.size() + 1) * (FaultyConnection::kMaxWaiting + bytes.size()) +
                                       kLargestMessage,
                "what waits is bounded");
    }

    void pass(int64_t ns)
    {
        const int64_t until = mNowNs + ns;
        for (int steps = 0; mNowNs < until && steps < 200; ++steps) {
            mNowNs = std::min(until, std::max(mConnection.deadline(), mNowNs + 1));
            mConnection.advance(mNowNs);
            require(mConnection.deadline() > mNowNs, "what was due is done");
            reachServer();
        }
    }

    void reachServer()
    {
        if (!mReached && mConnection.acceptance() == FaultyConnection::eAcceptance::CONNECT) {
            mReached = true;
            mConnection.reached(mNowNs);
        }
    }

    void write(eDirection direction, size_t size)
    {
        const std::span<const uint8_t> ready = mConnection.output(direction);
        size = std::min(size, ready.size());
        Bytes& out = mOut[index(direction)];
        out.insert(out.end(), ready.begin(), ready.begin() + static_cast<std::ptrdiff_t>(size));
        mConnection.written(direction, size, mNowNs);
    }

    void drain()
    {
        for (const eDirection direction : kDirections) {
            while (!mConnection.output(direction).empty()) {
                write(direction, mConnection.output(direction).size());
            }
        }
    }

    void end(eDirection direction)
    {
        if (mReached && !mEnded[index(direction)]) {
            mEnded[index(direction)] = true;
            mConnection.ended(direction, mNowNs);
        }
    }

    void clear(uint8_t which)
    {
        if (!mRules.all().empty()) {
            mRules.clear(mRules.all()[which % mRules.all().size()]->number);
            mConnection.advance(mNowNs);
            reachServer();
        }
    }

    void add(uint8_t which)
    {
        if (mWithoutRules || mRules.all().size() >= 8) {
            return;
        }
        Rule rule;
        const char* text = mKeeps ? kKeeping[which % kKeeping.size()] : kOthers[which % kOthers.size()];
        require(parseRule(text, &rule).empty(), "the rules are right");
        know(mRules.add(rule, mNowNs));
        mConnection.advance(mNowNs);
    }

    void command(uint8_t which)
    {
        if (!mKeeps && !mWithoutRules && mReached) {
            constexpr std::array kCommands = {eFault::SILENCE, eFault::CUT, eFault::RESET};
            mConnection.command(kCommands[which % kCommands.size()], mNowNs);
        }
    }

    void check()
    {
        for (const eDirection direction : kDirections) {
            const bool over = mConnection.end() == FaultyConnection::eEnd::RESET;
            require(!over || mConnection.output(direction).empty(), "nothing is written after a reset");
            require(!mConnection.outputEnded(direction) || mConnection.output(direction).empty(),
                    "an end is behind all bytes");
        }
        require(!mKeeps || mConnection.end() == FaultyConnection::eEnd::NONE,
                "nothing ends without a reason");
        require(mConnection.end() == FaultyConnection::eEnd::NONE ||
                    (!mConnection.wantsMore(eDirection::TO_SERVER) &&
                     !mConnection.wantsMore(eDirection::TO_DEVICE)),
                "nothing is read after the end");
    }

    void faultDone(const Fault& fault) override
    {
        require(fault.rule == 0 ||
                    std::ranges::any_of(mKnown,
                                        [&fault](const RulePtr& rule) { return rule->number == fault.rule; }),
                "a fault has a rule");
        const zulcommand::JsonPtr line = faultLine(fault);
        require(zulcommand::dumped(line).find('\n') == std::string::npos, "a fault is a line");
    }

    void foreignBytes(eDirection direction) override
    {
        require(!mForeign[index(direction)], "foreign bytes are said once");
        mForeign[index(direction)] = true;
    }

    RuleSet& mRules;
    const bool mKeeps;
    const bool mWithoutRules;
    DeviceCounts mDevices;
    std::vector<RulePtr> mKnown{mRules.all()};
    FaultyConnection mConnection{{mRules, mDevices, 1}, 1, this};
    int64_t mNowNs = 0;
    bool mReached = false;
    bool mEnded[2] = {};
    bool mForeign[2] = {};
    Bytes mIn[2];
    Bytes mOut[2];
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    const uint8_t choice = input.number8();
    const bool keeps = (choice & 1) == 0;
    RuleSet rules;
    for (uint8_t left = choice >> 1 & 7; left > 0; --left) {
        const uint8_t which = input.number8();
        Rule rule;
        require(parseRule(keeps ? kKeeping[which % kKeeping.size()] : kOthers[which % kOthers.size()], &rule)
                    .empty(),
                "the rules are right");
        rules.add(rule, ActiveRule::kFromTheBeginning);
    }
    Pipe pipe(&rules, keeps);
    for (size_t steps = 0; !input.empty() && steps < kMaxSteps; ++steps) {
        pipe.step(&input);
    }
    pipe.finish();
    return 0;
}

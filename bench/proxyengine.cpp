// Measures what rules that match nothing cost the proxy's engine, without sockets: lines "STREAM/RULES NS",
// for a byte of messages that come back to back in pieces of 64 KiB.

#include <string>
#include <vector>

#include "figures.h"
#include "proxy/faults/faultyconnection.h"
#include "proxy/rules/ruleparser.h"
#include "wmsg/wmsg.h"
#include "wmsg/wpayload.h"

namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kPiece = 64 * 1024;
constexpr uint32_t kSerial = 1001;
constexpr uint32_t kPort = 3;

/// Ten rules about things that no message here has, each with a number of its own.
struct RuleKind
{
    const char* name;
    const char* text; ///< what stands before the number; empty for no rules
    uint32_t first = 100;
};

constexpr RuleKind kRuleKinds[] = {
    {"none", ""},
    {"device", "lose device=5"},
    {"type", "lose type="},
    {"object", "lose object=", 20},
    {"port", "lose port="},
    {"field", "field sample=1 port="},
    {"nan", "nan port="},
    {"float", "nan count="},
    {"both", "lose object=OBJ_PORT_DIN port="},
};

struct Stream
{
    const char* name;
    Bytes piece;
};

class Nobody : public proxy::FaultyConnection::Owner
{
    void faultDone(const proxy::Fault&) override {}
    void foreignBytes(proxy::eDirection) override {}
};

/// A record of a port; with its state, a number, it is 32 bytes long.
void appendRecord(Bytes* payload, eObjectTypes type = OBJ_PORT_DIN, bool hasState = true)
{
    Bytes tags((hasState ? 3 : 2) * wmsg::kNumberTagSize);
    uint8_t* to = wmsg::putNumberTag(tags.data(), TAG_DEVICE_SERIAL, kSerial);
    to = wmsg::putNumberTag(to, TAG_PORT_ID, kPort);
    if (hasState) {
        wmsg::putNumberTag(to, TAG_OUTPUT_STATE, uint32_t{1});
    }
    uint8_t header[wmsg::kObjectHeaderSize];
    wmsg::putObjectHeader(header, type, tags.size());
    payload->insert(payload->end(), header, header + sizeof header);
    payload->insert(payload->end(), tags.begin(), tags.end());
}

Bytes textRecord(size_t size)
{
    Bytes record(wmsg::kObjectHeaderSize + wmsg::kNumberTagSize + wmsg::kTagHeaderSize + size);
    uint8_t* to =
        wmsg::putObjectHeader(record.data(), OBJ_ADHOC_EVENT, record.size() - wmsg::kObjectHeaderSize);
    to = wmsg::putNumberTag(to, TAG_DEVICE_SERIAL, kSerial);
    wmsg::putTextTag(to, TAG_EVENT_VALUE, std::string(size, 'x'));
    return record;
}

/// Events with @p payload, and with @p answers an answer behind each, until a piece is full.
Stream streamOf(const char* name, const Bytes& payload, bool answers = false)
{
    Bytes messages;
    WMsg{.type = 3, .event = true, .payload = payload}.appendFrames(messages);
    if (answers) {
        WMsg{.type = 1, .answer = true, .payload = payload}.appendFrames(messages);
    }
    Stream stream{name, {}};
    while (stream.piece.size() + messages.size() <= kPiece) {
        stream.piece.insert(stream.piece.end(), messages.begin(), messages.end());
    }
    return stream;
}

std::vector<Stream> streams()
{
    Bytes small;
    appendRecord(&small);
    Bytes full;
    while (full.size() + small.size() <= wmsg::kMaxSegmentPayload) {
        appendRecord(&full);
    }
    Bytes mixed;
    while (mixed.size() + small.size() <= wmsg::kMaxSegmentPayload) {
        appendRecord(&mixed);
        appendRecord(&mixed, OBJ_ANALOG_SAMPLE, false);
    }
    return {streamOf("small", small), streamOf("turns", small, true), streamOf("full", full),
            streamOf("mixed", mixed), streamOf("text", textRecord(1900))};
}

void addRules(const RuleKind& kind, proxy::RuleSet* rules)
{
    const std::string text = kind.text;
    for (uint32_t number = kind.first; !text.empty() && number < kind.first + 10; ++number) {
        proxy::Rule rule;
        const std::string mistake = proxy::parseRule(text + std::to_string(number), &rule);
        if (!mistake.empty()) {
            std::fprintf(stderr, "%s\n", mistake.c_str());
            std::exit(1);
        }
        rules->add(rule, proxy::ActiveRule::kFromTheBeginning);
    }
}

/// A piece passes whole, or the measurement would be of something else.
void pass(proxy::FaultyConnection* connection, const Bytes& piece, size_t* passed)
{
    constexpr proxy::eDirection kToServer = proxy::eDirection::TO_SERVER;
    connection->received(kToServer, piece, 0);
    while (!connection->output(kToServer).empty()) {
        *passed += connection->output(kToServer).size();
        connection->written(kToServer, connection->output(kToServer).size(), 0);
    }
}

double cpuMicroseconds()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

double nanosecondsAByte(const Stream& stream, const RuleKind& kind, size_t pieces)
{
    proxy::RuleSet rules;
    proxy::DeviceCounts devices;
    addRules(kind, &rules);
    Nobody nobody;
    proxy::FaultyConnection connection({rules, devices, 1}, 1, &nobody);
    connection.begin(0);
    connection.reached(0);
    size_t passed = 0;
    const double begun = cpuMicroseconds();
    for (size_t i = 0; i < pieces; ++i) {
        pass(&connection, stream.piece, &passed);
    }
    const double took = cpuMicroseconds() - begun;
    if (passed != pieces * stream.piece.size()) {
        std::fprintf(stderr, "%s/%s: not all has passed\n", stream.name, kind.name);
        std::exit(1);
    }
    return took * 1000 / static_cast<double>(passed);
}

} // namespace

/// The argument: how many pieces are measured in a round.
int main(int argc, char** argv)
{
    constexpr int kRounds = 9;
    const size_t pieces = argc > 1 ? std::stoul(argv[1]) : 100;
    for (const Stream& stream : streams()) {
        for (const RuleKind& kind : kRuleKinds) {
            std::vector<double> rounds;
            for (int i = 0; i < kRounds; ++i) {
                rounds.push_back(nanosecondsAByte(stream, kind, pieces));
            }
            figures::print(std::string(stream.name) + "/" + kind.name, rounds);
        }
    }
    return 0;
}

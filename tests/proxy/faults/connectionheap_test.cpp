// How much memory connections take.

#include "faultypipe.h"
#include "heapmeter.h"
#include "messages.h"

namespace proxy {

namespace {

constexpr uint64_t kConnections = 1000;

class Nobody : public FaultyConnection::Owner
{
    void faultDone(const Fault&) override {}
    void foreignBytes(eDirection) override {}
};

void passThrough(FaultyConnection* connection, eDirection direction, Bytes* bytes)
{
    connection->received(direction, *bytes, 0);
    while (!connection->output(direction).empty()) {
        connection->written(direction, connection->output(direction).size(), 0);
    }
}

/// Bytes that each of kConnections takes that has exchanged messages and is idle now.
size_t bytesOfIdle(const std::vector<std::string>& rules)
{
    FaultyProxy proxy;
    for (const std::string& rule : rules) {
        proxy.add(rule);
    }
    Nobody nobody;
    Bytes message = sample(1);
    Bytes many = large(1, 100000);
    std::vector<std::unique_ptr<FaultyConnection>> connections(kConnections);
    const HeapMeter meter;
    for (uint64_t number = 1; number <= kConnections; ++number) {
        auto& connection = connections[number - 1];
        connection = std::make_unique<FaultyConnection>(
            FaultyConnection::Shared{proxy.rules, proxy.devices, proxy.seed}, number, &nobody);
        connection->begin(0);
        connection->reached(0);
        for (const eDirection direction : kDirections) {
            passThrough(connection.get(), direction, &message);
            passThrough(connection.get(), direction, &many);
        }
    }
    return meter.now() / kConnections;
}

} // namespace

TEST(ConnectionHeapTest, anIdleConnectionWithoutRulesIsSmall)
{
    EXPECT_LE(bytesOfIdle({}), 2048U);
    RecordProperty("bytes", std::to_string(bytesOfIdle({})));
}

TEST(ConnectionHeapTest, anIdleConnectionWithRulesIsSmall)
{
    const std::vector<std::string> rules(10, "lose object=OBJ_PORT_DIN"); // which looks at each record
    EXPECT_LE(bytesOfIdle(rules), 6000U);
    RecordProperty("bytes", std::to_string(bytesOfIdle(rules)));
}

TEST(ConnectionHeapTest, aPieceThatPassesTakesNoMemory)
{
    FaultyProxy proxy;
    Nobody nobody;
    FaultyConnection connection({proxy.rules, proxy.devices, proxy.seed}, 1, &nobody);
    connection.begin(0);
    connection.reached(0);
    Bytes message = sample(1);
    passThrough(&connection, kToServer, &message);
    const HeapMeter meter;
    connection.received(kToServer, message, 0);
    EXPECT_EQ(meter.taken(), 0U);
    EXPECT_EQ(connection.output(kToServer).data(), message.data());
}

} // namespace proxy

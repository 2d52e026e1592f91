// What the proxy that spoils lines does to the bytes that pass it.

#include "faultproxy.h"

#include <gtest/gtest.h>
#include <vector>

#include "hexbytes.h"
#include "linkpeer.h"

namespace {

using Bytes = std::vector<uint8_t>;

constexpr int kMessages = 300;

Bytes countedMessage(int number)
{
    WMsg message;
    message.type = 3;
    message.event = true;
    message.seq = static_cast<uint8_t>(number);
    message.payload.assign(static_cast<size_t>(number) % 97, static_cast<uint8_t>(number));
    return framesOf(message);
}

Bytes stream()
{
    Bytes all;
    for (int i = 0; i < kMessages; ++i) {
        const Bytes message = countedMessage(i);
        all.insert(all.end(), message.begin(), message.end());
    }
    return all;
}

/// What comes out at the server's end of what a device sends.
Bytes passedThrough(const Faults& faults, FaultCounts* counts)
{
    LinkPeer server;
    FaultProxy proxy(static_cast<uint16_t>(server.port()), faults);
    PeerConnection device = PeerConnection::connectTo(proxy.port());
    PeerConnection end = server.accept();
    EXPECT_TRUE(device.send(stream()));
    device.finishSending();
    Bytes passed = end.receiveRest();
    *counts = proxy.counts();
    return passed;
}

Faults damaging(uint64_t seed)
{
    Faults faults;
    faults.seed = seed;
    faults.corrupt = 0.1;
    faults.duplicate = 0.1;
    faults.drop = 0.1;
    return faults;
}

} // namespace

TEST(FaultProxyTest, passesEverythingWhenToldNothing)
{
    FaultCounts counts;
    EXPECT_EQ(passedThrough({}, &counts), stream());
    EXPECT_EQ(counts.segments, uint64_t(kMessages));
    EXPECT_EQ(counts.bytes, stream().size());
}

TEST(FaultProxyTest, passesBytesThatAreNoSegments)
{
    LinkPeer server;
    FaultProxy proxy(static_cast<uint16_t>(server.port()));
    PeerConnection device = PeerConnection::connectTo(proxy.port());
    PeerConnection end = server.accept();
    const Bytes text(100, 'x');
    ASSERT_TRUE(device.send(text));
    device.finishSending();
    EXPECT_EQ(end.receiveRest(), text);
}

TEST(FaultProxyTest, theSameSeedDoesTheSameDamage)
{
    FaultCounts first;
    FaultCounts second;
    FaultCounts other;
    const Bytes damaged = passedThrough(damaging(5), &first);
    EXPECT_EQ(passedThrough(damaging(5), &second), damaged);
    EXPECT_NE(passedThrough(damaging(6), &other), damaged);
    EXPECT_EQ(first.corrupted, second.corrupted);
    EXPECT_GT(first.corrupted, 0U);
    EXPECT_GT(first.duplicated, 0U);
    EXPECT_GT(first.dropped, 0U);
}

TEST(FaultProxyTest, slicesDelayAndRateChangeNoByte)
{
    Faults faults;
    faults.sliceBytes = 7;
    faults.delayMs = 1;
    faults.jitterMs = 2;
    faults.bytesPerSecond = 1000000;
    FaultCounts counts;
    EXPECT_EQ(passedThrough(faults, &counts), stream());
}

TEST(FaultProxyTest, eachFaultDropsDuplicatesOrChangesWholeSegments)
{
    Faults faults;
    FaultCounts counts;
    faults.drop = 1;
    EXPECT_EQ(passedThrough(faults, &counts), Bytes());
    EXPECT_EQ(counts.dropped, uint64_t(kMessages));
    faults.drop = 0;
    faults.duplicate = 1;
    EXPECT_EQ(passedThrough(faults, &counts).size(), 2 * stream().size());
    faults.duplicate = 0;
    faults.corrupt = 1;
    const Bytes changed = passedThrough(faults, &counts);
    EXPECT_EQ(changed.size(), stream().size());
    size_t at = 0;
    for (int i = 0; i < kMessages; ++i) {
        const Bytes whole = countedMessage(i);
        const auto from = changed.begin() + static_cast<std::ptrdiff_t>(at);
        EXPECT_NE(Bytes(from, from + static_cast<std::ptrdiff_t>(whole.size())), whole) << "message " << i;
        at += whole.size();
    }
}

TEST(FaultProxyTest, refusesAndAcceptsAgainAtTheSamePort)
{
    LinkPeer server;
    FaultProxy proxy(static_cast<uint16_t>(server.port()));
    const uint16_t port = proxy.port();
    EXPECT_TRUE(PeerConnection::connectTo(port).isOpen());
    proxy.refuse();
    EXPECT_FALSE(PeerConnection::connectTo(port).isOpen());
    proxy.accept();
    EXPECT_EQ(proxy.port(), port);
    EXPECT_TRUE(PeerConnection::connectTo(port).isOpen());
}

// Alone in its program, whose heap it measures.

#include <gtest/gtest.h>

#include <malloc.h>

#include "fleet/devices/fleet.h"

using namespace fleet;

namespace {

/// The heap of @p count devices that have not connected, in bytes.
double heapOf(uint32_t count, const zuldevice::Counts& counts)
{
    boost::asio::io_context io(1);
    FleetSettings settings;
    settings.count = count;
    settings.counts = counts;
    settings.label = *LabelPattern::parse("SITE {n:04}");
    const size_t before = ::mallinfo2().uordblks;
    const Fleet fleet(io, settings, ServerTarget({{boost::asio::ip::address_v4::loopback(), 1}}, {}));
    return static_cast<double>(::mallinfo2().uordblks - before);
}

} // namespace

TEST(FleetHeapTest, aDeviceTakesAtMost8KiBAnd160BytesAPort)
{
    EXPECT_LE(heapOf(1000, {}) / 1000.0, 8192.0);
    EXPECT_LE(heapOf(1000, {4, 4, 2, 2, 1}) / 1000.0, 8192.0 + 13 * 160.0);
    EXPECT_LE(heapOf(1000, {100, 100, 50, 50, 25}) / 1000.0, 8192.0 + 325 * 160.0);
}

TEST(FleetHeapTest, theHeapGrowsWithTheNumberOfDevices)
{
    const zuldevice::Counts counts{4, 4, 2, 2, 1};
    const double half = heapOf(1000, counts);
    EXPECT_NEAR(heapOf(2000, counts) / half, 2.0, 0.05);
}

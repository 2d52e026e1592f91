#include "fleet/app/limits.h"

#include <gtest/gtest.h>

using namespace fleet;

namespace {

constexpr SystemLimits kLimits{20'000, 28'232, uint64_t{16} * 1024 * 1024 * 1024};
constexpr zuldevice::Counts kFewPorts{4, 4, 2, 2, 1};

} // namespace

TEST(LimitsTest, aFleetWithinTheLimitsMayConnect)
{
    EXPECT_EQ(checkLimits(19'000, kFewPorts, 0, kLimits), "");
}

TEST(LimitsTest, tooFewDescriptorsAreTold)
{
    EXPECT_EQ(
        checkLimits(20'000, kFewPorts, 0, kLimits),
        "20000 devices need 20032 descriptors and the system permits 20000: raise the limit with ulimit -n "
        "or LimitNOFILE=.");
}

TEST(LimitsTest, tooFewSourcePortsAreTold)
{
    SystemLimits limits = kLimits;
    limits.descriptors = 1'000'000;
    EXPECT_EQ(checkLimits(28'232, kFewPorts, 0, limits), "");
    EXPECT_EQ(
        checkLimits(28'233, kFewPorts, 1, limits),
        "28233 devices need as many source ports and there are 28232: give more addresses with --bind, or "
        "widen net.ipv4.ip_local_port_range.");
    EXPECT_EQ(checkLimits(28'233, kFewPorts, 2, limits), "");
}

TEST(LimitsTest, tooLittleMemoryIsTold)
{
    SystemLimits limits = kLimits;
    limits.memoryBytes = 100 * 1024 * 1024;
    EXPECT_EQ(
        checkLimits(10'000, kFewPorts, 0, limits),
        "10000 devices need 138 MB of memory and 101 MB are free: add memory, or play parts of the fleet on "
        "several machines with --shard.");
    limits.memoryBytes = 0; // not known
    EXPECT_EQ(checkLimits(10'000, kFewPorts, 0, limits), "");
}

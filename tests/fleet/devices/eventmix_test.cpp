#include "fleet/devices/eventmix.h"

#include <gtest/gtest.h>

using namespace fleet;

namespace {

constexpr zuldevice::Counts kCounts{4, 4, 2, 2, 1};

std::array<int, kEventKinds.size()> sharesOf(const EventMix& mix, int draws)
{
    std::array<int, kEventKinds.size()> shares{};
    for (int step = 0; step < draws; ++step) {
        ++shares[static_cast<size_t>(mix.draw(7, static_cast<uint64_t>(step), 100).kind)];
    }
    return shares;
}

std::string mistakeOf(const std::string& text, const zuldevice::Counts& counts = kCounts)
{
    EventMix mix;
    return EventMix::parse(text, counts, &mix);
}

} // namespace

TEST(EventMixTest, kindsComeInTheirShares)
{
    EventMix mix;
    ASSERT_EQ(EventMix::parse("din=50,adhoc=50", kCounts, &mix), "");
    const auto shares = sharesOf(mix, 10'000);
    EXPECT_NEAR(shares[0], 5000, 300);
    EXPECT_EQ(shares[1], 0);
    EXPECT_EQ(shares[2], 0);
    EXPECT_NEAR(shares[3], 5000, 300);
}

TEST(EventMixTest, theUsualMixHasWhatTheDevicesHave)
{
    const auto shares = sharesOf(EventMix::usual(kCounts), 10'000);
    EXPECT_NEAR(shares[0], 7000, 300);
    EXPECT_NEAR(shares[1], 2000, 300);
    EXPECT_NEAR(shares[2], 500, 100);
    EXPECT_NEAR(shares[3], 500, 100);
    EXPECT_EQ(sharesOf(EventMix::usual({}), 100)[3], 100);
}

TEST(EventMixTest, eventsAreOfPortsThatAreThere)
{
    const EventMix mix = EventMix::usual(kCounts);
    for (uint64_t step = 0; step < 10'000; ++step) {
        const EventMix::Event event = mix.draw(1, step, 3);
        EXPECT_LT(event.device, 3U);
        EXPECT_GE(event.number, 1U);
        constexpr std::array<uint32_t, kEventKinds.size()> kMax = {4, 2, 1, 99};
        EXPECT_LE(event.number, kMax[static_cast<size_t>(event.kind)]);
        if (event.kind == eEventKind::AIN) {
            EXPECT_LE(event.value, 100U);
        }
    }
}

TEST(EventMixTest, equalSeedsGiveEqualEvents)
{
    const EventMix mix = EventMix::usual(kCounts);
    bool otherSeedDiffers = false;
    for (uint64_t step = 0; step < 100; ++step) {
        const EventMix::Event event = mix.draw(1, step, 1000);
        EXPECT_EQ(event.device, mix.draw(1, step, 1000).device);
        otherSeedDiffers = otherSeedDiffers || event.device != mix.draw(2, step, 1000).device;
    }
    EXPECT_TRUE(otherSeedDiffers);
}

TEST(EventMixTest, aMixThatDoesNotAddUpToAnythingIsAMistake)
{
    EXPECT_EQ(mistakeOf("din=0"), "--mix does not add up to anything: \"din=0\".");
    EXPECT_EQ(mistakeOf(""), "--mix does not add up to anything: \"\".");
}

TEST(EventMixTest, aKindThatTheDevicesLackIsAMistake)
{
    EXPECT_EQ(mistakeOf("scan=5", {.digitalInputs = 1}),
              "--mix has \"scan\", but the devices have no scanner.");
    EXPECT_EQ(mistakeOf("din=1,scan=0", {.digitalInputs = 1}), "");
}

TEST(EventMixTest, otherTextsAreMistakes)
{
    EXPECT_EQ(mistakeOf("door=5"), "--mix has a kind that is none of din, ain, scan and adhoc: \"door=5\".");
    EXPECT_EQ(mistakeOf("din=x"), "--mix: din is not a whole number from 0 to 1000000: \"x\".");
    EXPECT_EQ(mistakeOf("din=-1"), "--mix: din is not a whole number from 0 to 1000000: \"-1\".");
    EXPECT_EQ(mistakeOf("din"), "--mix: din is not a whole number from 0 to 1000000: \"\".");
    EXPECT_EQ(mistakeOf("din=1,din=2"), "--mix has \"din\" twice.");
}

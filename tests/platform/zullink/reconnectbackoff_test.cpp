// How long devices wait before they connect again.

#include "zullink/reconnectbackoff.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <vector>

namespace {

constexpr int kFirst = 1000;
constexpr int kLongest = 30000;
constexpr uint32_t kDevices = 1000;

/// The pause number @p number, from 1, of each of a thousand devices.
std::vector<int> pausesOfAll(int number)
{
    std::vector<int> pauses;
    for (uint32_t seed = 1; seed <= kDevices; ++seed) {
        cReconnectBackoff pause(kFirst, kLongest, seed * 2654435761U);
        int last = 0;
        for (int i = 0; i < number; ++i) {
            last = pause.next();
        }
        pauses.push_back(last);
    }
    return pauses;
}

/// How many of @p pauses fall into the fullest of the ten equal parts from @p from to @p to.
size_t fullestTenth(const std::vector<int>& pauses, int from, int to)
{
    std::map<int, size_t> tenths;
    for (const int pause : pauses) {
        ++tenths[(pause - from) * 10 / (to - from + 1)];
    }
    return std::max_element(tenths.begin(), tenths.end(),
                            [](const auto& left, const auto& right) { return left.second < right.second; })
        ->second;
}

} // namespace

TEST(ReconnectPauseTest, EachPauseIsTwiceTheLastOneAndUpToHalfAsMuchAgain)
{
    for (uint32_t seed = 1; seed <= kDevices; ++seed) {
        cReconnectBackoff pause(kFirst, kLongest, seed);
        for (const int base : {1000, 2000, 4000, 8000, 16000, 20000, 20000}) {
            const int next = pause.next();
            ASSERT_GE(next, base) << "seed " << seed;
            ASSERT_LE(next, std::min(base * 3 / 2, kLongest)) << "seed " << seed;
        }
        pause.reset();
        const int next = pause.next();
        ASSERT_TRUE(next >= kFirst && next <= kFirst * 3 / 2) << "seed " << seed;
    }
}

TEST(ReconnectPauseTest, EqualSeedsGiveEqualPauses)
{
    cReconnectBackoff first(kFirst, kLongest, 42);
    cReconnectBackoff second(kFirst, kLongest, 42);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(first.next(), second.next());
    }
}

TEST(ReconnectPauseTest, AThousandDevicesSpreadOverTheWholeRange)
{
    struct Row
    {
        int number;
        int base;
    };
    for (const Row row : {Row{1, 1000}, Row{2, 2000}, Row{5, 16000}, Row{12, 20000}}) {
        SCOPED_TRACE(row.number);
        const std::vector<int> pauses = pausesOfAll(row.number);
        const int end = std::min(row.base * 3 / 2, kLongest);
        // By chance a tenth of the range gets a tenth of the devices, give or take ten.
        EXPECT_LT(fullestTenth(pauses, row.base, end), 160U);
        EXPECT_LT(*std::min_element(pauses.begin(), pauses.end()), row.base + row.base / 50);
        EXPECT_GT(*std::max_element(pauses.begin(), pauses.end()), end - row.base / 50);
    }
}

TEST(ReconnectPauseTest, DevicesDriftFurtherApartWithEachAttempt)
{
    // Two devices that waited equally long once do not go on in step.
    std::map<int, std::vector<int>> secondByFirst;
    for (uint32_t seed = 1; seed <= kDevices; ++seed) {
        cReconnectBackoff pause(kFirst, kLongest, seed * 2654435761U);
        const int first = pause.next();
        secondByFirst[first].push_back(pause.next());
    }
    size_t inStep = 0;
    for (auto& [first, seconds] : secondByFirst) {
        std::sort(seconds.begin(), seconds.end());
        inStep += static_cast<size_t>(seconds.end() - std::unique(seconds.begin(), seconds.end()));
    }
    EXPECT_LT(inStep, kDevices / 50);
}

TEST(ReconnectPauseTest, ALongestPauseBelowTheFirstHolds)
{
    cReconnectBackoff pause(1000, 20, 1);
    for (int i = 0; i < 5; ++i) {
        EXPECT_LE(pause.next(), 20);
    }
}

// The memory that the reader takes for hostile files.

#include "heapmeter.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>

#include "zulscenario/scenarioreader.h"

namespace {

using namespace zulscenario;

constexpr size_t kMiB = 1024 * 1024;

/// A file of @p size bytes: @p begin, then @p piece again and again.
std::string fileOf(const std::string& begin, const std::string& piece, size_t size)
{
    std::string text = begin;
    text.reserve(size);
    while (text.size() + piece.size() <= size) {
        text += piece;
    }
    return text;
}

/// What the reader takes for a scenario, or for the table of one, in bytes. @p *mistake is what it says.
size_t peakFor(const std::string& scenario, const std::string& table, std::string* mistake)
{
    const HeapMeter meter;
    Scenario read;
    *mistake =
        readScenario("a.yaml", {4, 4, 2, 2, 2}, &read, [&](const std::string& path, std::string* content) {
            *content = path == "a.yaml" ? scenario : table;
            return std::string();
        });
    return meter.peak();
}

/// The parser keeps what stands between two values: a bound holds, however long the file is.
TEST(ScenarioHeapTest, BracketsWithoutEndTakeAtMostTheirBound)
{
    for (const char* piece : {"[", "{", "{a: ", "[],", "[a, ", "? [", "# \n", "- - "}) {
        std::string mistake;
        EXPECT_LT(peakFor(fileOf("steps:\n  ", piece, kMiB), "", &mistake), 192 * kMiB) << piece;
        EXPECT_TRUE(mistake.starts_with("a.yaml:")) << mistake;
    }
}

TEST(ScenarioHeapTest, AValueOfManyValuesTakesAtMostItsBound)
{
    for (const char* begin : {"start: [", "steps: [{at: 1s, when: [", "steps:\n  - - 1\n    - ["}) {
        std::string mistake;
        EXPECT_LT(peakFor(fileOf(begin, "1,", kMiB), "", &mistake), 192 * kMiB) << begin;
        EXPECT_TRUE(mistake.starts_with("a.yaml:")) << mistake;
    }
}

/// A file of 16 MiB then takes at most 192.
TEST(ScenarioHeapTest, TheShortestStepsTakeTwelveTimesTheirFile)
{
    for (const char* piece : {"- {at: 0s, toggle: din 1}\n", "- {at: 0s, set: {din 1: low}}\n",
                              "- {when: {din 1: low}, link: up}\n"}) {
        std::string mistake;
        const std::string file = fileOf("steps:\n", piece, kMiB / 4);
        EXPECT_LT(peakFor(file, "", &mistake), 12 * file.size()) << piece;
        EXPECT_EQ(mistake, "") << piece;
    }
}

TEST(ScenarioHeapTest, ATableOfTheShortestRowsTakesTenTimesItsFile)
{
    std::string table = "time,AIN 1,AIN 2,DIN 1\n";
    for (size_t row = 0; row < 100'000; ++row) {
        table += std::to_string(row) + ",,,\n";
    }
    std::string mistake;
    EXPECT_LT(peakFor("steps: [{at: 0s, play: {file: day.csv}}]", table, &mistake), 10 * table.size());
    EXPECT_EQ(mistake, "");
}

} // namespace

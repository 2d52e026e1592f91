// The shortest way from one sequence to another.

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <string>

#include "capture/diff/alignment.h"

namespace {

using capture::align;
using capture::eStep;

std::vector<uint64_t> elements(const std::string& text) { return {text.begin(), text.end()}; }

/// '=' is in both, '-' in A only, '+' in B only.
std::string steps(const std::string& a, const std::string& b, bool isWhole = true)
{
    std::string text;
    for (const eStep step : align(elements(a), elements(b), isWhole)) {
        text += step == eStep::BOTH ? '=' : step == eStep::ONLY_A ? '-' : '+';
    }
    return text;
}

/// The least number of steps of one side, by the table of all pairs of beginnings.
size_t fewest(const std::string& a, const std::string& b)
{
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) {
        row[j] = j;
    }
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t before = std::exchange(row[0], i);
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t both = before;
            before = row[j];
            row[j] = a[i - 1] == b[j - 1] ? both : std::min(row[j], row[j - 1]) + 1;
        }
    }
    return row[b.size()];
}

/// True if @p steps lead from @p a to @p b.
bool leadsTo(const std::string& steps, const std::string& a, const std::string& b)
{
    size_t inA = 0;
    size_t inB = 0;
    for (const char step : steps) {
        if (step == '=' && (inA == a.size() || inB == b.size() || a[inA] != b[inB])) {
            return false;
        }
        inA += step != '+' ? 1 : 0;
        inB += step != '-' ? 1 : 0;
    }
    return inA == a.size() && inB == b.size();
}

TEST(AlignmentTest, EqualSequencesHaveNoSteps) { EXPECT_EQ(steps("abc", "abc"), "==="); }

TEST(AlignmentTest, OneMissingElementIsOneStep)
{
    EXPECT_EQ(steps("abcdef", "abdef"), "==-===");
    EXPECT_EQ(steps("abdef", "abcdef"), "==+===");
    EXPECT_EQ(steps("HLHLHL", "LHLHL"), "-=====") << "the same values again and again";
}

TEST(AlignmentTest, AnEmptySequenceLacksAll)
{
    EXPECT_EQ(steps("abc", ""), "---");
    EXPECT_EQ(steps("", "ab"), "++");
    EXPECT_EQ(steps("", ""), "");
}

TEST(AlignmentTest, BeginningsAreAlignedUpToWhereOneEnds)
{
    EXPECT_EQ(steps("abcd", "ab", false), "==");
    EXPECT_EQ(steps("xabcd", "ab", false), "-==");
}

TEST(AlignmentTest, RandomSequencesHaveTheFewestSteps)
{
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        const auto text = [&random] {
            std::string made(random() % 20, ' ');
            std::ranges::generate(made, [&random] { return static_cast<char>('a' + random() % 3); });
            return made;
        };
        const std::string a = text();
        const std::string b = text();
        const std::string found = steps(a, b);
        EXPECT_TRUE(leadsTo(found, a, b)) << a << ' ' << b;
        EXPECT_EQ(found.size() - static_cast<size_t>(std::ranges::count(found, '=')), fewest(a, b))
            << a << ' ' << b;
    }
}

TEST(AlignmentTest, SequencesWithoutACommonElementEndAtTheBound)
{
    EXPECT_EQ(steps(std::string(2000, 'a'), std::string(2000, 'b')).size(), capture::kMaxEdits);
}

} // namespace

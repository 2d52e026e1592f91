#include "fleet/devices/labelpattern.h"

#include <gtest/gtest.h>

using fleet::LabelPattern;

namespace {

std::string textOf(const std::string& pattern, uint32_t number)
{
    const auto label = LabelPattern::parse(pattern);
    return label ? label->text(number) : "(none)";
}

} // namespace

TEST(LabelPatternTest, theNumberStandsInThePlaceOfTheBraces)
{
    EXPECT_EQ(textOf("SITE {n}", 7), "SITE 7");
    EXPECT_EQ(textOf("{n}", 0), "0");
    EXPECT_EQ(textOf("{n} of them", 12), "12 of them");
    EXPECT_EQ(textOf("SITE {n:04}", 7), "SITE 0007");
    EXPECT_EQ(textOf("SITE {n:04}", 123456), "SITE 123456");
    EXPECT_EQ(textOf("{n:010}", 1), "0000000001");
    EXPECT_EQ(textOf("Z\xc3\xbcrich {n:02}", 3), "Z\xc3\xbcrich 03");
}

TEST(LabelPatternTest, otherBracesAreText)
{
    EXPECT_EQ(textOf("a{b}c", 7), "a{b}c");
    EXPECT_EQ(textOf("", 7), "");
}

TEST(LabelPatternTest, knowsWhetherLabelsDiffer)
{
    EXPECT_TRUE(LabelPattern::parse("SITE {n}")->numbered());
    EXPECT_FALSE(LabelPattern::parse("SITE")->numbered());
}

TEST(LabelPatternTest, anythingElseBehindTheBraceIsAMistake)
{
    for (const char* pattern :
         {"{n", "{name}", "{n:}", "{n:4}", "{n:0}", "{n:011}", "{n:0x4}", "{n:04", "{n04}"}) {
        EXPECT_FALSE(LabelPattern::parse(pattern)) << pattern;
    }
}

TEST(LabelPatternTest, aTextOfAFileIsTakenAsItIs)
{
    EXPECT_EQ(LabelPattern::literal("a{n}").text(7), "a{n}");
}

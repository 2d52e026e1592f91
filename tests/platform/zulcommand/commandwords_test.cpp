#include "zulcommand/commandwords.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace zulcommand;

namespace {

struct Read
{
    std::vector<std::string> words;
    std::string mistake;
};

Read read(const std::string& line)
{
    CommandWords words(line);
    Read all;
    while (std::optional<std::string> word = words.nextWord()) {
        all.words.push_back(*word);
    }
    all.mistake = words.finish();
    return all;
}

using Words = std::vector<std::string>;

} // namespace

TEST(CommandWordsTest, aWordInQuotationMarksMayHoldBlanks)
{
    EXPECT_EQ(read("scan 1 \"4711 ANNA\"").words, (Words{"scan", "1", "4711 ANNA"}));
    EXPECT_EQ(read("\"\\t\" \"a\\\"b\" \"\\u00fc\"").words, (Words{"\t", "a\"b", "ü"}));
}

TEST(CommandWordsTest, aWordInQuotationMarksIsNoFieldWhateverItHolds)
{
    CommandWords words("adhoc 7 \"front door\" \"forced=open\" device=3");
    EXPECT_EQ(words.word(), "adhoc");
    EXPECT_EQ(words.word(), "7");
    EXPECT_EQ(words.word(), "front door");
    EXPECT_EQ(words.word(), "forced=open");
    EXPECT_EQ(words.number("device"), 3U);
    EXPECT_EQ(words.finish(), "");
}

TEST(CommandWordsTest, anEmptyWordIsAWord)
{
    EXPECT_EQ(read("a \"\" b").words, (Words{"a", "", "b"}));
    CommandWords words("\"\"");
    EXPECT_EQ(words.finish(), "The command does not take \"\".");
}

TEST(CommandWordsTest, aMarkWithinAWordIsACharacter)
{
    EXPECT_EQ(read("a\"b c\"").words, (Words{"a\"b", "c\""}));
}

TEST(CommandWordsTest, marksThatAreNotAsInJsonAreAMistake)
{
    for (const std::string written : {"\"a", "\"a\"b", "\"a\\x\"", "\"", "\"a\tb\"", "\"\\u0000\""}) {
        EXPECT_EQ(read(written).mistake,
                  "The word is no text in quotation marks, as JSON has it: " + written + ".");
    }
}

TEST(CommandWordsTest, aLineIsShortUtf8WithoutANul)
{
    EXPECT_EQ(lineMistake(std::string(kMaxCommandBytes, 'a')), "");
    EXPECT_EQ(lineMistake("case Prüfung"), "");
    EXPECT_EQ(lineMistake(std::string(kMaxCommandBytes + 1, 'a')), "The command is longer than 4096 bytes.");
    EXPECT_EQ(lineMistake(std::string("get\0din", 7)), "The command holds a NUL.");
    EXPECT_EQ(lineMistake("case Pr\xFC"
                          "fung"),
              "The command is not UTF-8.");
}

TEST(CommandWordsTest, aMisspeltNameIsToldRatherThanTheFieldThatIsMissing)
{
    CommandWords words("send typ=3");
    words.word();
    words.failWithout("type");
    EXPECT_TRUE(words.failed());
    EXPECT_EQ(words.finish(), "The command does not take the field \"typ\".");
}

TEST(CommandWordsTest, theFirstFieldThatIsMissingIsTold)
{
    CommandWords words("send");
    words.word();
    words.failWithout("type");
    words.failWithout("serial");
    EXPECT_EQ(words.finish(), "The command needs the field \"type\".");
}

TEST(CommandWordsTest, sentencesHaveTheSubjectThatTheyAreGiven)
{
    CommandWords words("p=1", "The rule");
    EXPECT_EQ(words.finish(), "The rule does not take the field \"p\".");
    EXPECT_EQ(lineMistake("\xFC", "The rule"), "The rule is not UTF-8.");
}

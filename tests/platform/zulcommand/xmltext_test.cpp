#include <gtest/gtest.h>
#include <string>

#include "zulcommand/xmltext.h"

using zulcommand::xmlAttribute;
using zulcommand::xmlText;

namespace {

const std::string kReplaced = "\xEF\xBF\xBD";

} // namespace

TEST(XmlTextTest, whatMeansSomethingInXmlIsWrittenAsAReference)
{
    EXPECT_EQ(xmlText("a<b & \"c\" ]]> 'd'\r\n\t"), "a&lt;b &amp; \"c\" ]]&gt; 'd'&#13;\n\t");
    EXPECT_EQ(xmlAttribute("a<b & \"c\"\r\n\t"), "a&lt;b &amp; &quot;c&quot;&#13;&#10;&#9;");
}

TEST(XmlTextTest, charactersWithoutAPlaceInXmlAreReplaced)
{
    EXPECT_EQ(xmlText(std::string("\0\x01\x08\x0B\x0C\x0E\x1F\x20\x7F", 9)),
              kReplaced + kReplaced + kReplaced + kReplaced + kReplaced + kReplaced + kReplaced + " \x7F");
    EXPECT_EQ(xmlText("\xEF\xBF\xBD\xEF\xBF\xBE\xEF\xBF\xBF"), kReplaced + kReplaced + kReplaced);
}

TEST(XmlTextTest, charactersOfEveryLengthStay)
{
    const std::string text =
        "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";
    EXPECT_EQ(xmlText(text), text);
}

TEST(XmlTextTest, bytesThatAreNotUTF8AreReplacedOneByOne)
{
    EXPECT_EQ(xmlText("a\x80z"), "a" + kReplaced + "z");
    EXPECT_EQ(xmlText("\xC3"), kReplaced);
    EXPECT_EQ(xmlText("\xC0\xAF"), kReplaced + kReplaced) << "overlong";
    EXPECT_EQ(xmlText("\xE0\x80\xAF"), kReplaced + kReplaced + kReplaced) << "overlong";
    EXPECT_EQ(xmlText("\xED\xA0\x80"), kReplaced + kReplaced + kReplaced) << "a surrogate";
    EXPECT_EQ(xmlText("\xF4\x90\x80\x80"), kReplaced + kReplaced + kReplaced + kReplaced) << "beyond Unicode";
    EXPECT_EQ(xmlText("\xF8\x88\x80\x80\x80").substr(0, 3), kReplaced);
    EXPECT_EQ(xmlText("\xE2\x82<"), kReplaced + kReplaced + "&lt;") << "cut off";
}

#include "wmsg/utf8.h"

#include <gtest/gtest.h>

namespace {

TEST(Utf8Test, CharactersOfEverySizeAreRead)
{
    struct Row
    {
        const char* text;
        uint32_t code;
        size_t size;
    };
    const Row rows[] = {
        {"a tail", 'a', 1},
        {"\x7F", 0x7F, 1},
        {"\xC2\x80", 0x80, 2},
        {"\xC3\xA9t", 0xE9, 2},
        {"\xE0\xA0\x80", 0x800, 3},
        {"\xE2\x82\xAC", 0x20AC, 3},
        {"\xEF\xBF\xBF", 0xFFFF, 3},
        {"\xF0\x90\x80\x80", 0x10000, 4},
        {"\xF4\x8F\xBF\xBF", 0x10FFFF, 4},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(utf8::firstCharacter(row.text).code, row.code);
        EXPECT_EQ(utf8::firstCharacter(row.text).size, row.size);
        EXPECT_EQ(utf8::repaired(row.text), row.text);
    }
    EXPECT_EQ(utf8::firstCharacter(std::string_view("\0", 1)).size, 1U);
}

TEST(Utf8Test, BytesThatAreNoCharacterHaveNoSize)
{
    for (const char* text :
         {"", "\x80", "\xBF", "\xC3", "\xC3 ", "\xE2\x82", "\xF0\x9F\x98", "\xFF", "\xF8\x88\x80\x80\x80",
          "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", // longer than need be
          "\xED\xA0\x80", "\xED\xBF\xBF",                             // surrogates
          "\xF4\x90\x80\x80", "\xF7\xBF\xBF\xBF"}) {                  // beyond U+10FFFF
        SCOPED_TRACE(text);
        EXPECT_EQ(utf8::firstCharacter(text).size, 0U);
    }
}

TEST(Utf8Test, EachByteThatIsNoCharacterIsReplaced)
{
    EXPECT_EQ(utf8::repaired("a\xFF\xC3\xA9\xE2\x82z"), "a\xEF\xBF\xBD\xC3\xA9\xEF\xBF\xBD\xEF\xBF\xBDz");
    EXPECT_EQ(utf8::repaired(""), "");
}

TEST(Utf8Test, ATextIsCutAtTheEndOfACharacter)
{
    const std::string text = "ab\xF0\x9F\x98\x80z";
    EXPECT_EQ(utf8::cut(text, 7), text);
    EXPECT_EQ(utf8::cut(text, 6), "ab\xF0\x9F\x98\x80");
    for (const size_t most : {2, 3, 4, 5}) {
        EXPECT_EQ(utf8::cut(text, most), "ab") << most;
    }
    EXPECT_EQ(utf8::cut(text, 1), "a");
    EXPECT_EQ(utf8::cut(text, 0), "");
    EXPECT_EQ(utf8::cut("\xC3\xA9", 1), "");
}

TEST(Utf8Test, BytesThatAreNoTextAreCutAtTheLimit)
{
    const std::string bytes(9, '\x80');
    for (size_t most = 0; most < bytes.size(); ++most) {
        EXPECT_EQ(utf8::cut(bytes, most).size(), most);
    }
}

} // namespace

#include "wmsg/wpayload.h"

#include <bit>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "hexbytes.h"
#include "payloadwriter.h"

namespace {

std::vector<uint8_t> payloadWithText(const std::string& text)
{
    std::vector<uint8_t> payload;
    PayloadWriter writer(&payload);
    writer.beginObject(1);
    writer.putText(3, text);
    writer.endObject();
    return payload;
}

std::string textOf(const std::vector<uint8_t>& payload)
{
    WObjectReader objects(payload);
    WendleObject object;
    WTagView tag;
    EXPECT_TRUE(objects.next(&object));
    WTagReader tags(object.tags);
    EXPECT_TRUE(tags.next(&tag));
    EXPECT_FALSE(tags.next(&tag));
    EXPECT_TRUE(tags.status().isOk());
    return std::string(wmsg::getText(tag.value));
}

TEST(WPayloadTest, ObjectsAndTagsStandOneAfterTheOther)
{
    std::vector<uint8_t> payload;
    PayloadWriter writer(&payload);
    writer.beginObject(2);
    writer.putNumber(1, 1001U);
    writer.putText(3, "Door");
    writer.putText(12, "");
    writer.endObject();
    writer.beginObject(0x01020304);
    writer.endObject();
    writer.beginObject(9);
    writer.putNumber(29, -0.5F);
    writer.endObject();
    EXPECT_EQ(payload, hexBytes("00 00 00 02  00 00 00 14       ; object type 2, 20 bytes of tags\n"
                                "  00 01 00 04  00 00 03 e9     ; tag 1, a number\n"
                                "  00 03 00 04  44 6f 6f 72     ; tag 3, a text\n"
                                "  00 0c 00 00                  ; tag 12, an empty text\n"
                                "01 02 03 04  00 00 00 00       ; object without tags\n"
                                "00 00 00 09  00 00 00 08       ; object type 9\n"
                                "  00 1d 00 04  bf 00 00 00     ; tag 29, a float\n"));
}

TEST(WPayloadTest, FloatsTravelBitForBit)
{
    for (const uint32_t bits : {0x00000000U, 0x80000000U, 0x00000001U, 0x7F7FFFFFU, 0x7F800000U, 0xFF800000U,
                                0x7FC00000U, 0x7FC12345U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(bits);
        std::vector<uint8_t> payload;
        PayloadWriter writer(&payload);
        writer.beginObject(9);
        writer.putNumber(29, std::bit_cast<float>(bits));
        writer.endObject();
        WObjectReader objects(payload);
        WendleObject object;
        ASSERT_TRUE(objects.next(&object));
        WTagReader tags(object.tags);
        WTagView tag;
        ASSERT_TRUE(tags.next(&tag));
        uint32_t number = 0;
        float real = 0.0F;
        ASSERT_TRUE(wmsg::getNumber(tag.value, &number) && wmsg::getNumber(tag.value, &real));
        EXPECT_EQ(number, bits);
        EXPECT_EQ(std::bit_cast<uint32_t>(real), bits);
    }
}

TEST(WPayloadTest, TextOfTheGreatestLengthIsWhole)
{
    const std::string text(wmsg::kMaxTextBytes, 'x');
    EXPECT_EQ(textOf(payloadWithText(text)), text);
}

TEST(WPayloadTest, LongerTextIsCutBetweenCharacters)
{
    struct Row
    {
        const char* name;
        const char* character;
        size_t before; ///< how many bytes stand before the character
        size_t kept;
    };
    const Row rows[] = {{"one byte", "x", 65535, 65535},
                        {"two bytes that just fit", "\xC3\xA9", 65533, 65535},
                        {"two bytes, one too many", "\xC3\xA9", 65534, 65534},
                        {"three bytes, one too many", "\xE2\x82\xAC", 65533, 65533},
                        {"three bytes, two too many", "\xE2\x82\xAC", 65534, 65534},
                        {"four bytes that just fit", "\xF0\x9F\x98\x80", 65531, 65535},
                        {"four bytes, one too many", "\xF0\x9F\x98\x80", 65532, 65532},
                        {"four bytes, three too many", "\xF0\x9F\x98\x80", 65534, 65534}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string text = std::string(row.before, 'x') + row.character + "tail";
        EXPECT_EQ(textOf(payloadWithText(text)), text.substr(0, row.kept));
    }
}

TEST(WPayloadTest, LongBytesThatAreNoTextAreCutAtTheLimit)
{
    EXPECT_EQ(textOf(payloadWithText(std::string(70000, '\x80'))).size(), wmsg::kMaxTextBytes);
}

TEST(WPayloadTest, NoBytesAreNoObjects)
{
    WObjectReader objects({});
    WendleObject object;
    EXPECT_FALSE(objects.next(&object));
    EXPECT_TRUE(objects.status().isOk());
}

TEST(WPayloadTest, ObjectThatLiesIsRefused)
{
    struct Row
    {
        const char* name;
        const char* bytes;
        const char* field;
    };
    const Row rows[] = {
        {"one byte of a header", "00", "object"},
        {"seven bytes of a header", "00 00 00 02 00 00 00", "object"},
        {"one byte more than there is", "00 00 00 02 00 00 00 01", "object length"},
        {"four gigabytes", "00 00 00 02 ff ff ff ff 00 01 00 04 00 00 00 00", "object length"},
        {"wraps round with the header", "00 00 00 02 ff ff ff f8 00 01 00 04 00 00 00 00", "object length"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const std::vector<uint8_t> bytes = hexBytes(row.bytes);
        WObjectReader objects(bytes);
        WendleObject object;
        EXPECT_FALSE(objects.next(&object));
        EXPECT_STREQ(objects.status().field(), row.field);
        EXPECT_FALSE(objects.next(&object)) << "nothing is read after a fault";
    }
}

TEST(WPayloadTest, TagThatLiesIsRefused)
{
    struct Row
    {
        const char* name;
        const char* bytes;
        const char* field;
    };
    const Row rows[] = {{"one byte of a header", "00", "tag"},
                        {"three bytes of a header", "00 01 00", "tag"},
                        {"one byte more than there is", "00 01 00 05 00 00 00 00", "tag length"},
                        {"the greatest length", "00 01 ff ff 00 00 00 00", "tag length"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const std::vector<uint8_t> bytes = hexBytes(row.bytes);
        WTagReader tags(bytes);
        WTagView tag;
        EXPECT_FALSE(tags.next(&tag));
        EXPECT_STREQ(tags.status().field(), row.field);
        EXPECT_FALSE(tags.next(&tag)) << "nothing is read after a fault";
    }
}

TEST(WPayloadTest, TheNextTagIsTakenOnlyIfItIsTheWantedOne)
{
    const std::vector<uint8_t> bytes = hexBytes("00 01 00 04  00 00 03 e9     ; tag 1, a number\n"
                                                "00 03 00 02  4f 6b           ; tag 3, a text\n"
                                                "00 1d 00 04  bf 00 00 00     ; tag 29, a float\n");
    WTagReader tags(bytes);
    uint32_t number = 7;
    float real = 7.0F;
    std::string_view text = "before";
    EXPECT_FALSE(tags.takeNumber(2, &number));
    EXPECT_FALSE(tags.takeText(2, &text));
    EXPECT_FALSE(tags.takeNumber(2, &real));
    EXPECT_TRUE(number == 7 && real == 7.0F && text == "before");
    EXPECT_TRUE(tags.takeNumber(1, &number));
    EXPECT_EQ(number, 1001U);
    EXPECT_FALSE(tags.takeNumber(3, &number)) << "a text of two bytes is no number";
    EXPECT_TRUE(tags.takeText(3, &text));
    EXPECT_EQ(text, "Ok");
    EXPECT_FALSE(tags.atEnd());
    EXPECT_TRUE(tags.takeNumber(29, &real));
    EXPECT_EQ(real, -0.5F);
    EXPECT_TRUE(tags.atEnd());
    EXPECT_FALSE(tags.takeNumber(29, &number));
    EXPECT_FALSE(tags.takeText(29, &text));
}

TEST(WPayloadTest, ATagThatLiesIsNotTaken)
{
    const std::vector<uint8_t> whole = hexBytes("00 01 00 04 00 00 03 e9");
    for (size_t size = 0; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        const std::vector<uint8_t> bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        WTagReader tags(bytes);
        uint32_t number = 0;
        std::string_view text;
        EXPECT_FALSE(tags.takeNumber(1, &number));
        EXPECT_FALSE(tags.takeText(1, &text));
    }
}

TEST(WPayloadTest, StatusNamesTheFieldAndItsProblem)
{
    EXPECT_EQ(WStatus::error("tag length", "is more than the object holds").text(),
              "tag length: is more than the object holds");
    EXPECT_EQ(WStatus::ok().text(), "ok");
}

} // namespace

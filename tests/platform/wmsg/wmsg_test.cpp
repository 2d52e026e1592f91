#include "wmsg/wmsg.h"

#include <gtest/gtest.h>
#include <vector>

#include "hexbytes.h"

namespace {

uint32_t checksum(const std::vector<uint8_t>& bytes)
{
    return wmsg::checksumFinish(wmsg::checksumAdd(0, bytes));
}

WMsg numberedMessage(uint8_t type, uint8_t seq, std::vector<uint8_t> payload)
{
    WMsg message;
    message.type = type;
    message.seq = seq;
    message.payload = std::move(payload);
    return message;
}

TEST(WMsgTest, PingIsAHeaderAlone)
{
    EXPECT_EQ(framesOf(WMsg::ping(false)), hexBytes("5a 57        ; magic\n"
                                                    "01           ; protocol version\n"
                                                    "0c           ; control, last segment\n"
                                                    "00           ; type\n"
                                                    "00           ; sequence number\n"
                                                    "00 00        ; segment number\n"
                                                    "00 00 00 00  ; payload length\n"
                                                    "a5 a8 fe f3  ; checksum\n"));
}

TEST(WMsgTest, AnswerToAPingDiffersInItsFlagAlone)
{
    EXPECT_EQ(framesOf(WMsg::ping(true)), hexBytes("5a 57 01 0d 00 00 00 00 00 00 00 00 a5 a8 fe f2"));
}

TEST(WMsgTest, FlagsStandForThemselves)
{
    struct Row
    {
        const char* name;
        bool answer, event, control;
        uint8_t flags;
    };
    const Row rows[] = {{"none", false, false, false, 0x08},
                        {"answer", true, false, false, 0x09},
                        {"event", false, true, false, 0x0A},
                        {"control", false, false, true, 0x0C},
                        {"all", true, true, true, 0x0F}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        WMsg message;
        message.answer = row.answer;
        message.event = row.event;
        message.control = row.control;
        EXPECT_EQ(framesOf(message)[3], row.flags);
    }
}

TEST(WMsgTest, LongMessageTravelsInTwoSegments)
{
    const std::vector<uint8_t> bytes = framesOf(numberedMessage(1, 5, std::vector<uint8_t>(2033, 0xAB)));
    std::vector<uint8_t> expected = hexBytes("5a 57        ; magic\n"
                                             "01           ; protocol version\n"
                                             "00           ; no flag: more segments follow\n"
                                             "01           ; type\n"
                                             "05           ; sequence number\n"
                                             "00 00        ; segment number\n"
                                             "00 00 07 f0  ; payload length, 2032\n"
                                             "fb fb 4e 66  ; checksum\n");
    expected.insert(expected.end(), 2032, 0xAB);
    const std::vector<uint8_t> second = hexBytes("5a 57        ; magic\n"
                                                 "01           ; protocol version\n"
                                                 "08           ; last segment\n"
                                                 "01           ; type\n"
                                                 "05           ; sequence number\n"
                                                 "00 01        ; segment number\n"
                                                 "00 00 00 01  ; payload length\n"
                                                 "f9 a3 fe f4  ; checksum\n"
                                                 "ab           ; payload\n");
    expected.insert(expected.end(), second.begin(), second.end());
    EXPECT_EQ(bytes, expected);
}

TEST(WMsgTest, SegmentsAreFullButTheLast)
{
    struct Row
    {
        size_t payload;
        std::vector<size_t> lengths;
    };
    const Row rows[] = {{0, {0}},
                        {1, {1}},
                        {2031, {2031}},
                        {2032, {2032}},
                        {2033, {2032, 1}},
                        {4063, {2032, 2031}},
                        {4064, {2032, 2032}},
                        {4065, {2032, 2032, 1}}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.payload);
        const WMsg message = numberedMessage(3, 9, std::vector<uint8_t>(row.payload, 0x11));
        ASSERT_EQ(message.segmentCount(), row.lengths.size());
        for (size_t i = 0; i < row.lengths.size(); ++i) {
            std::vector<uint8_t> frame;
            message.segmentMessage(i, frame);
            ASSERT_EQ(frame.size(), row.lengths[i] + wmsg::kHeaderSize);
            EXPECT_EQ(frame[7], i) << "segment number";
            EXPECT_EQ(frame[10] * 256U + frame[11], row.lengths[i]) << "payload length";
            EXPECT_EQ((frame[3] & wmsg::kFlagLastSegment) != 0, i + 1 == row.lengths.size());
        }
    }
}

TEST(WMsgTest, FramesAreAppendedToWhatIsThere)
{
    std::vector<uint8_t> bytes = {1, 2, 3};
    WMsg::ping(false).appendFrames(bytes);
    ASSERT_EQ(bytes.size(), 3 + wmsg::kHeaderSize);
    EXPECT_EQ(bytes[2], 3);
    EXPECT_EQ(bytes[3], 0x5A);
}

TEST(WMsgTest, ChecksumHasKnownAnswers)
{
    struct Row
    {
        const char* name;
        const char* bytes;
        uint32_t sum;
    };
    const Row rows[] = {{"nothing", "", 0xFFFFFFFF},
                        {"one", "00 00 00 01", 0xFFFFFFFE},
                        {"all ones", "ff ff ff ff", 0x00000000},
                        {"the carry comes round", "ff ff ff ff 00 00 00 01", 0xFFFFFFFE},
                        {"one byte is padded", "01", 0xFEFFFFFF},
                        {"three bytes are padded", "12 34 56", 0xEDCBA9FF},
                        {"many carries", "ff ff ff ff ff ff ff ff 80", 0x7FFFFFFF}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(checksum(hexBytes(row.bytes)), row.sum);
    }
}

TEST(WMsgTest, ChecksumOfPiecesIsThatOfTheWhole)
{
    std::vector<uint8_t> bytes(103);
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<uint8_t>(i * 37 + 200);
    }
    for (size_t cut = 0; cut <= bytes.size(); cut += 4) {
        SCOPED_TRACE(cut);
        const uint64_t sum = wmsg::checksumAdd(0, std::span(bytes).first(cut));
        const uint64_t whole = wmsg::checksumAdd(sum, std::span(bytes).subspan(cut));
        EXPECT_EQ(wmsg::checksumFinish(whole), checksum(bytes));
    }
}

} // namespace

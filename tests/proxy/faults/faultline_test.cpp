// The lines about faults.

#include <gtest/gtest.h>

#include "proxy/faults/faultline.h"
#include "proxy/faults/faulttext.h"

namespace proxy {

TEST(FaultLineTest, hasEveryMember)
{
    const Fault fault{.rule = 2,
                      .kind = eFault::WRONG_NUMBER,
                      .connection = 7,
                      .deviceSerial = 4294967294,
                      .direction = eDirection::TO_DEVICE,
                      .msgSeq = 0,
                      .object = 2,
                      .was = "7",
                      .became = "91"};
    EXPECT_EQ(
        zulcommand::dumped(faultLine(fault)),
        R"({"event":"fault","rule":2,"kind":"wrong-number","device":4294967294,"dir":"to-device","msgSeq":0,)"
        R"("object":"OBJ_PORT_DIN","connection":7,"was":"7","became":"91"})");
}

TEST(FaultLineTest, saysNullForWhatIsNotKnown)
{
    const Fault fault{.kind = eFault::REFUSE, .connection = 1, .was = "begun", .became = "refused"};
    EXPECT_EQ(
        zulcommand::dumped(faultLine(fault)),
        R"({"event":"fault","rule":0,"kind":"refuse","device":null,"dir":null,"msgSeq":null,"object":null,)"
        R"("connection":1,"was":"begun","became":"refused"})");
}

TEST(FaultLineTest, writesAnUnknownTypeOfRecordAsANumber)
{
    const Fault fault{.object = 4000000000};
    EXPECT_NE(zulcommand::dumped(faultLine(fault)).find(R"("object":4000000000)"), std::string::npos);
}

TEST(FaultTextTest, bytesAreHexadecimalAndAtMost64)
{
    const std::vector<uint8_t> bytes(65, 0xAB);
    EXPECT_EQ(hexText(std::span(bytes).first(2)), "abab");
    EXPECT_EQ(hexText(std::span(bytes).first(64)).size(), 128U);
    EXPECT_EQ(hexText(bytes), hexText(std::span(bytes).first(64)) + "…");
    EXPECT_EQ(hexText({}), "");
}

TEST(FaultTextTest, timesHaveNoZerosAtTheirEnd)
{
    EXPECT_EQ(millisecondsText(3'000'000'000), "3000 ms");
    EXPECT_EQ(millisecondsText(500'000), "0.5 ms");
    EXPECT_EQ(millisecondsText(0), "0 ms");
    EXPECT_EQ(millisecondsText(4'294'967'295'000'000), "4294967295 ms");
    EXPECT_EQ(secondsText(3'000'000'000), "3 s");
    EXPECT_EQ(secondsText(250'000'000), "0.25 s");
    EXPECT_EQ(secondsText(100'000'000'000), "100 s");
}

TEST(FaultTextTest, valuesAreThoseOfJson)
{
    const auto text = [](eTag tag, const std::vector<uint8_t>& value) {
        return valueText(zuldict::entry(tag), value);
    };
    EXPECT_EQ(text(TAG_INPUT_STATE, {0, 0, 0, 1}), "OBJ_IO_STATE_SET");
    EXPECT_EQ(text(TAG_INPUT_STATE, {0, 0, 0, 9}), "9");
    EXPECT_EQ(text(TAG_INPUT_STATE, {0, 1}), "0001");
    EXPECT_EQ(text(TAG_SAMPLE, {0x3F, 0xC0, 0, 0}), "1.5");
    EXPECT_EQ(text(TAG_SAMPLE, {0x7F, 0xC0, 0, 0}), "null");
    EXPECT_EQ(text(TAG_LABEL, {'a', 0xFF}), "a\xEF\xBF\xBD");
    EXPECT_EQ(text(TAG_LABEL, std::vector<uint8_t>(65, 'x')), std::string(64, 'x') + "…");
}

} // namespace proxy

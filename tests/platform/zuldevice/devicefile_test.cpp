#include "zuldevice/devicefile.h"

#include <gtest/gtest.h>

using namespace zuldevice;

TEST(DeviceFileTest, nineLinesDescribeADevice)
{
    const DeviceFile file =
        DeviceFile::read("a: 4\nb: 3\r\nc: 2\nd:1\n5\nf: TYPE\ng: 4 0\nh: 10 01\ni: Panel 7\nj: 9\n");
    EXPECT_EQ(file.counts.digitalInputs, 4U);
    EXPECT_EQ(file.counts.digitalOutputs, 3U);
    EXPECT_EQ(file.counts.analogInputs, 2U);
    EXPECT_EQ(file.counts.analogOutputs, 1U);
    EXPECT_EQ(file.counts.scanners, 5U);
    EXPECT_EQ(file.type, "TYPE");
    EXPECT_EQ(file.version, "40");
    EXPECT_EQ(file.serial, "1001");
    EXPECT_EQ(file.label, "Panel7");
}

TEST(DeviceFileTest, aMissingLineLeavesNothing)
{
    const DeviceFile file = DeviceFile::read("a: 4\n");
    EXPECT_EQ(file.counts.digitalInputs, 4U);
    EXPECT_EQ(file.counts.digitalOutputs, 0U);
    EXPECT_EQ(file.serial, "");
    EXPECT_FALSE(file.label);
}

TEST(DeviceFileTest, numbersConvertOrAreZero)
{
    EXPECT_EQ(numberOrZero("0017"), 17U);
    EXPECT_EQ(numberOrZero("\t17\t"), 17U);
    EXPECT_EQ(numberOrZero("4294967295"), 4294967295U);
    for (const char* text :
         {"", "4294967296", "99999999999999999999", "abc", "12abc", "0x10", "-1", "1.5", "1,000"}) {
        EXPECT_EQ(numberOrZero(text), 0U) << text;
    }
}

// What is read of capture files. Their bytes are written down here, in the order in which they stand in a
// file.

#include <gtest/gtest.h>
#include <sstream>

#include "hexbytes.h"
#include "wcapture/packetreader.h"
#include "wcapture/pcapngtime.h"

namespace {

using Bytes = std::vector<uint8_t>;

struct ReadFile
{
    std::vector<sPacket> packets;
    cCaptureFormat::eResult end = cCaptureFormat::PACKET;
    std::string status;
    std::vector<sCaptureInterface> interfaces;
    std::string program;
};

ReadFile readFile(const Bytes& file)
{
    std::istringstream stream(std::string(file.begin(), file.end()));
    cPacketReader reader(&stream);
    ReadFile read;
    sPacket packet;
    while ((read.end = reader.next(&packet)) == cCaptureFormat::PACKET) {
        read.packets.push_back(packet);
    }
    EXPECT_EQ(reader.next(&packet), read.end) << "after the end it stays at the end";
    read.status = reader.status().text();
    read.interfaces = reader.interfaces();
    read.program = reader.program();
    return read;
}

const char* const kSection = "0a 0d 0d 0a  2c 00 00 00 ; section header, 44 bytes\n"
                             "4d 3c 2b 1a              ; little-endian\n"
                             "01 00 00 00              ; version 1.0\n"
                             "ff ff ff ff ff ff ff ff  ; length not told\n"
                             "04 00 05 00  7a 75 6c 20 31 00 00 00 ; program \"zul 1\"\n"
                             "00 00 00 00\n"
                             "2c 00 00 00\n";

const char* const kInterface = "01 00 00 00  14 00 00 00 ; interface, 20 bytes\n"
                               "65 00 00 00  00 00 00 00 ; link type 101, no limit\n"
                               "14 00 00 00\n";

const char* const kPacket = "06 00 00 00  24 00 00 00 ; enhanced packet, 36 bytes\n"
                            "00 00 00 00              ; interface 0\n"
                            "00 00 00 00  03 00 00 00 ; 3 units of time\n"
                            "03 00 00 00  05 00 00 00 ; 3 bytes of 5\n"
                            "aa bb cc 00\n"
                            "24 00 00 00\n";

Bytes file(std::initializer_list<const char*> blocks)
{
    std::string text;
    for (const char* block : blocks) {
        text += block;
    }
    return hexBytes(text);
}

TEST(PacketReaderTest, ReadsAnEnhancedPacketWithItsTimeAndLengths)
{
    const ReadFile read = readFile(file({kSection, kInterface, kPacket}));
    EXPECT_EQ(read.end, cCaptureFormat::END);
    EXPECT_EQ(read.program, "zul 1");
    ASSERT_EQ(read.interfaces.size(), 1U);
    EXPECT_EQ(read.interfaces[0].linkType, 101);
    ASSERT_EQ(read.packets.size(), 1U);
    EXPECT_EQ(read.packets[0].timeNs, 3000) << "microseconds unless the interface says something else";
    EXPECT_EQ(read.packets[0].bytes, (Bytes{0xAA, 0xBB, 0xCC}));
    EXPECT_EQ(read.packets[0].wireSize, 5U);
    EXPECT_TRUE(read.packets[0].comments.empty());
}

TEST(PacketReaderTest, ReadsTheOtherByteOrder)
{
    const ReadFile read = readFile(file({"0a 0d 0d 0a  00 00 00 1c  1a 2b 3c 4d  00 01 00 00\n"
                                         "00 00 00 00 00 00 00 44  00 00 00 1c\n"
                                         "00 00 00 01  00 00 00 14  00 71 00 00  00 00 ff ff  00 00 00 14\n"
                                         "00 00 00 06  00 00 00 24  00 00 00 00  00 00 00 01  00 00 00 02\n"
                                         "00 00 00 02  00 00 00 02  01 02 00 00  00 00 00 24"}));
    EXPECT_EQ(read.end, cCaptureFormat::END);
    ASSERT_EQ(read.packets.size(), 1U);
    EXPECT_EQ(read.interfaces[0].linkType, 113);
    EXPECT_EQ(read.interfaces[0].snapLength, 65535U);
    EXPECT_EQ(read.packets[0].timeNs, ((int64_t{1} << 32) + 2) * 1000);
    EXPECT_EQ(read.packets[0].bytes, (Bytes{1, 2}));
}

TEST(PacketReaderTest, ASectionHasInterfacesAByteOrderAndAProgramOfItsOwn)
{
    const ReadFile read = readFile(file({kSection, kInterface, kPacket,
                                         "0a 0d 0d 0a  00 00 00 1c  1a 2b 3c 4d  00 01 00 00\n"
                                         "ff ff ff ff ff ff ff ff  00 00 00 1c\n"
                                         "00 00 00 01  00 00 00 14  00 01 00 00  00 00 00 00  00 00 00 14\n"
                                         "00 00 00 06  00 00 00 20  00 00 00 00  00 00 00 00  00 00 00 07\n"
                                         "00 00 00 00  00 00 00 00  00 00 00 20"}));
    EXPECT_EQ(read.end, cCaptureFormat::END);
    ASSERT_EQ(read.packets.size(), 2U);
    EXPECT_EQ(read.packets[1].timeNs, 7000);
    ASSERT_EQ(read.interfaces.size(), 1U);
    EXPECT_EQ(read.interfaces[0].linkType, 1);
    EXPECT_EQ(read.program, "");
}

TEST(PacketReaderTest, InterfacesHaveNamesAndClocks)
{
    const ReadFile read = readFile(file({kSection, kInterface,
                                         "01 00 00 00  38 00 00 00  01 00 00 00  00 00 00 00\n"
                                         "02 00 06 00  73 65 72 76 65 72 00 00 ; name \"server\"\n"
                                         "09 00 01 00  09 00 00 00             ; nanoseconds\n"
                                         "0e 00 08 00  02 00 00 00 00 00 00 00 ; 2 s later\n"
                                         "00 00 00 00\n"
                                         "38 00 00 00\n"
                                         "06 00 00 00  20 00 00 00  01 00 00 00  00 00 00 00  09 00 00 00\n"
                                         "00 00 00 00  00 00 00 00  20 00 00 00"}));
    ASSERT_EQ(read.packets.size(), 1U);
    EXPECT_EQ(read.interfaces[1].name, "server");
    EXPECT_EQ(read.packets[0].interface, 1U);
    EXPECT_EQ(read.packets[0].timeNs, 2'000'000'009);
}

TEST(PacketReaderTest, TimesAreCountedInPowersOfTenAndTwo)
{
    const auto timeNs = [](uint8_t resolution, uint64_t units) {
        return pcapng::sClock{resolution, 0}.timeNs(units);
    };
    EXPECT_EQ(timeNs(0, 7), 7'000'000'000);
    EXPECT_EQ(timeNs(3, 1001), 1'001'000'000);
    EXPECT_EQ(timeNs(9, 1'600'000'000'123'456'789), 1'600'000'000'123'456'789);
    EXPECT_EQ(timeNs(12, 1'999), 1);
    EXPECT_EQ(timeNs(127, UINT64_MAX), 0);
    EXPECT_EQ(timeNs(0x80, 7), 7'000'000'000);
    EXPECT_EQ(timeNs(0x81, 3), 1'500'000'000);
    EXPECT_EQ(timeNs(0xA0, (uint64_t{5} << 32) + (uint64_t{1} << 31)), 5'500'000'000);
    EXPECT_EQ(timeNs(0xFF, UINT64_MAX), 0);
    EXPECT_EQ(timeNs(0xBF, UINT64_MAX), 1'999'999'999);
    EXPECT_GT(timeNs(0, UINT64_MAX), 9'000'000'000'000'000'000) << "the latest time there is";
    EXPECT_EQ((pcapng::sClock{6, -1}.timeNs(3'000'000)), 2'000'000'000);
    EXPECT_LT((pcapng::sClock{6, INT64_MIN}.timeNs(0)), -9'000'000'000'000'000'000);
}

TEST(PacketReaderTest, APacketWithoutTimeHasThatOfTheOneBefore)
{
    const ReadFile read =
        readFile(file({kSection, "01 00 00 00  14 00 00 00  65 00 00 00  02 00 00 00  14 00 00 00\n", kPacket,
                       "03 00 00 00  14 00 00 00 ; simple packet\n"
                       "04 00 00 00              ; of 4 bytes, of which 2 are recorded\n"
                       "0a 0b 00 00\n"
                       "14 00 00 00"}));
    ASSERT_EQ(read.packets.size(), 2U);
    EXPECT_EQ(read.packets[1].timeNs, 3000);
    EXPECT_EQ(read.packets[1].bytes, (Bytes{0x0A, 0x0B}));
    EXPECT_EQ(read.packets[1].wireSize, 4U);
}

TEST(PacketReaderTest, ReadsPacketsInTheirFormerBlock)
{
    const ReadFile read = readFile(file({kSection, kInterface,
                                         "02 00 00 00  24 00 00 00  00 00 07 00  00 00 00 00  01 00 00 00\n"
                                         "01 00 00 00  01 00 00 00  ee 00 00 00  24 00 00 00"}));
    ASSERT_EQ(read.packets.size(), 1U);
    EXPECT_EQ(read.packets[0].bytes, Bytes{0xEE});
}

TEST(PacketReaderTest, CommentsOfAPacketAreGiven)
{
    const ReadFile read = readFile(file({kSection, kInterface,
                                         "06 00 00 00  3c 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00\n"
                                         "00 00 00 00  00 00 00 00\n"
                                         "02 00 04 00  01 00 00 00 ; flags\n"
                                         "01 00 03 00  6f 6e 65 00 ; \"one\"\n"
                                         "01 00 03 00  74 77 6f 00 ; \"two\"\n"
                                         "00 00 00 00\n"
                                         "3c 00 00 00\n",
                                         kPacket}));
    ASSERT_EQ(read.packets.size(), 2U);
    EXPECT_EQ(read.packets[0].comments, (std::vector<std::string>{"one", "two"}));
    EXPECT_TRUE(read.packets[1].comments.empty());
}

TEST(PacketReaderTest, OtherBlocksAreSkipped)
{
    Bytes bytes = file({kSection, kInterface,
                        "05 00 00 00  10 00 00 00  01 02 03 04  10 00 00 00 ; statistics\n"
                        "ad 0b 00 40  0c 00 00 00  0c 00 00 00              ; somebody's own\n"
                        "0a 00 00 00  0c 00 20 00 ; secrets of 2 MiB\n"});
    bytes.resize(bytes.size() + 2 * 1024 * 1024);
    const Bytes rest = file({"0c 00 20 00\n", kPacket});
    bytes.insert(bytes.end(), rest.begin(), rest.end());
    const ReadFile read = readFile(bytes);
    EXPECT_EQ(read.end, cCaptureFormat::END) << read.status;
    EXPECT_EQ(read.packets.size(), 1U);
}

TEST(PacketReaderTest, AFileThatWasCutIsReadUpToThere)
{
    const Bytes whole = file({kSection, kInterface, kPacket, kPacket});
    const size_t behindFirst = whole.size() - 36;
    for (size_t size = 4; size < whole.size(); ++size) {
        const ReadFile read = readFile({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)});
        const bool isBetweenBlocks = size == 44 || size == 64 || size == behindFirst;
        EXPECT_EQ(read.end, isBetweenBlocks ? cCaptureFormat::END : cCaptureFormat::CUT) << size;
        EXPECT_EQ(read.packets.size(), size >= behindFirst ? 1U : 0U) << size;
    }
}

struct BadFile
{
    const char* name;
    Bytes bytes;
    const char* sentence;
};

void PrintTo(const BadFile& bad, std::ostream* to) { *to << bad.name; }

class BadFileTest : public testing::TestWithParam<BadFile>
{};

TEST_P(BadFileTest, IsToldInOneSentence)
{
    const ReadFile read = readFile(GetParam().bytes);
    EXPECT_EQ(read.end, cCaptureFormat::BROKEN);
    EXPECT_EQ(read.status, GetParam().sentence);
}

INSTANTIATE_TEST_SUITE_P(
    All, BadFileTest,
    testing::Values(
        BadFile{"Empty", {}, "capture file: it is empty"}, //
        BadFile{"Short", {0x0A}, "capture file: it is neither pcapng nor pcap"},
        BadFile{"Text", {'h', 'e', 'l', 'l', 'o'}, "capture file: it is neither pcapng nor pcap"},
        BadFile{"ByteOrder", hexBytes("0a 0d 0d 0a 1c 00 00 00 4d 3c 2b 1b"),
                "pcapng section: its byte order is not known"},
        BadFile{"SectionLength", hexBytes("0a 0d 0d 0a 18 00 00 00 4d 3c 2b 1a"),
                "pcapng section: its length is wrong"},
        BadFile{"Version", hexBytes("0a 0d 0d 0a 1c 00 00 00 4d 3c 2b 1a 02 00 00 00 00*8 1c 00 00 00"),
                "pcapng section: its version is not known"},
        BadFile{"SectionOption",
                hexBytes("0a 0d 0d 0a 20 00 00 00 4d 3c 2b 1a 01 00 00 00 00*8 04 00 01 00 20 00 00 00"),
                "pcapng section: an option is longer than the block"},
        BadFile{"LongSection", hexBytes("0a 0d 0d 0a fc ff ff ff 4d 3c 2b 1a 01 00 00 00"),
                "pcapng block: it is longer than 1 MiB"},
        BadFile{"BlockLength", file({kSection, "05 00 00 00 08 00 00 00"}),
                "pcapng block: its length is wrong"},
        BadFile{"OddLength", file({kSection, "05 00 00 00 0d 00 00 00"}),
                "pcapng block: its length is wrong"},
        BadFile{"TwoLengths", file({kSection, "05 00 00 00 0c 00 00 00 10 00 00 00"}),
                "pcapng block: its two lengths are not the same"},
        BadFile{"ShortInterface", file({kSection, "01 00 00 00 10 00 00 00 65 00 00 00 10 00 00 00"}),
                "pcapng interface: it is too short"},
        BadFile{"InterfaceOption",
                file({kSection, "01 00 00 00 18 00 00 00 65 00 00 00 00 00 00 00 02 00 09 00 18 00 00 00"}),
                "pcapng interface: an option is longer than the block"},
        BadFile{"NoInterface", file({kSection, kPacket}), "pcapng packet: its interface is not described"},
        BadFile{"SimpleWithoutInterface", file({kSection, "03 00 00 00 10 00 00 00 00 00 00 00 10 00 00 00"}),
                "pcapng packet: its interface is not described"},
        BadFile{"ShortSimple", file({kSection, kInterface, "03 00 00 00 0c 00 00 00 0c 00 00 00"}),
                "pcapng packet: it is too short"},
        BadFile{"ShortPacket", file({kSection, kInterface, "06 00 00 00 0c 00 00 00 0c 00 00 00"}),
                "pcapng packet: it is too short"},
        BadFile{
            "LongPacket",
            file({kSection, kInterface, "06 00 00 00 20 00 00 00 00*12 04 00 00 00 04 00 00 00 20 00 00 00"}),
            "pcapng packet: it is longer than its block"},
        BadFile{"LongBlock", file({kSection, kInterface, "06 00 00 00 00 00 00 40"}),
                "pcapng block: it is longer than 1 MiB"},
        BadFile{"PcapVersion", hexBytes("d4 c3 b2 a1 03 00 04 00 00*8 00 00 04 00 01 00 00 00"),
                "pcap header: its version is not known"},
        BadFile{"PcapPacket",
                hexBytes("d4 c3 b2 a1 02 00 04 00 00*8 00 00 04 00 01 00 00 00 00*8 01 00 10 00 01 00 10 00"),
                "pcap packet: it is longer than 1 MiB"}),
    [](const auto& row) { return row.param.name; });

TEST(PacketReaderTest, InterfacesAreBounded)
{
    std::string text = kSection;
    for (size_t i = 0; i < cCaptureFormat::kMaxInterfaces; ++i) {
        text += kInterface;
    }
    EXPECT_EQ(readFile(hexBytes(text)).end, cCaptureFormat::END);
    EXPECT_EQ(readFile(hexBytes(text + kInterface)).status, "pcapng interface: there are more than 4,096");
}

TEST(PacketReaderTest, NamesAndCommentsAreBounded)
{
    const ReadFile read = readFile(file({kSection, "01 00 00 00  44 01 00 00  65 00 00 00  00 00 00 00\n"
                                                   "02 00 2c 01 61*300\n"
                                                   "44 01 00 00"}));
    ASSERT_EQ(read.interfaces.size(), 1U) << read.status;
    EXPECT_EQ(read.interfaces[0].name, std::string(cCaptureFormat::kMaxText, 'a'));
}

TEST(PacketReaderTest, ReadsPcapWithMicrosecondsAndNanosecondsOfBothByteOrders)
{
    const char* const files[] = {
        "d4 c3 b2 a1 02 00 04 00 00*8 ff ff 00 00 01 00 00 00\n" // microseconds, little-endian
        "02 00 00 00 07 00 00 00 01 00 00 00 03 00 00 00 ee",
        "a1 b2 c3 d4 00 02 00 04 00*8 00 00 ff ff 00 00 00 01\n" // microseconds, big-endian
        "00 00 00 02 00 00 00 07 00 00 00 01 00 00 00 03 ee",
        "4d 3c b2 a1 02 00 04 00 00*8 ff ff 00 00 01 00 00 00\n" // nanoseconds, little-endian
        "02 00 00 00 58 1b 00 00 01 00 00 00 03 00 00 00 ee",
        "a1 b2 3c 4d 00 02 00 04 00*8 00 00 ff ff 00 00 00 01\n" // nanoseconds, big-endian
        "00 00 00 02 00 00 1b 58 00 00 00 01 00 00 00 03 ee",
    };
    for (const char* text : files) {
        SCOPED_TRACE(text);
        const ReadFile read = readFile(hexBytes(text));
        EXPECT_EQ(read.end, cCaptureFormat::END);
        ASSERT_EQ(read.packets.size(), 1U);
        EXPECT_EQ(read.interfaces[0].linkType, 1);
        EXPECT_EQ(read.packets[0].timeNs, 2'000'007'000);
        EXPECT_EQ(read.packets[0].bytes, Bytes{0xEE});
        EXPECT_EQ(read.packets[0].wireSize, 3U);
    }
}

TEST(PacketReaderTest, APcapFileThatWasCutIsReadUpToThere)
{
    const Bytes whole = hexBytes("d4 c3 b2 a1 02 00 04 00 00*8 ff ff 00 00 01 00 00 00\n"
                                 "00*8 02 00 00 00 02 00 00 00 ee ee\n"
                                 "00*8 02 00 00 00 02 00 00 00 ee ee");
    for (size_t size = 4; size < whole.size(); ++size) {
        const ReadFile read = readFile({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)});
        EXPECT_EQ(read.end, size == 24 || size == 42 ? cCaptureFormat::END : cCaptureFormat::CUT) << size;
        EXPECT_EQ(read.packets.size(), size >= 42 ? 1U : 0U) << size;
    }
}

} // namespace

// Which packets hold TCP, and where.

#include <gtest/gtest.h>

#include "hexbytes.h"
#include "wcapture/tcpsegment.h"

namespace {

using Bytes = std::vector<uint8_t>;

const std::string kTcp = "9c 40 c3 50             ; from port 40000 to 50000\n"
                         "01 02 03 04 05 06 07 08 ; sequence number, acknowledged\n"
                         "50 18 ff ff 00 00 00 00 ; 20 bytes, PSH and ACK\n"
                         "5a 57 21\n";

const std::string kV4 = "45 00 00 2b 00 00 40 00 40 06 00 00 c0 00 02 01 c0 00 02 02\n" + kTcp;

/// With the type of what follows and the length of it.
std::string v6(const std::string& type, const std::string& length)
{
    return "60 00 00 00 00 " + length + ' ' + type + " 40\n" + "20 01 0d b8 00*11 01\n20 01 0d b8 00*11 02\n";
}

const std::string kV6 = v6("06", "17") + kTcp;

const std::string kTwoAddresses = "00 01 02 03 04 05 06 07 08 09 0a 0b ";

struct Packet
{
    const char* name;
    uint16_t linkType;
    std::string hex;
    bool isV6 = false;
};

void PrintTo(const Packet& packet, std::ostream* to) { *to << packet.name; }

class TcpPacketFoundTest : public testing::TestWithParam<Packet>
{};

TEST_P(TcpPacketFoundTest, WithItsEndsNumbersAndPayload)
{
    const Bytes packet = hexBytes(GetParam().hex);
    sTcpSegment segment;
    ASSERT_EQ(decodePacket(GetParam().linkType, packet, packet.size(), &segment), eDecoded::SEGMENT);
    EXPECT_EQ(Bytes(segment.payload.begin(), segment.payload.end()), (Bytes{'Z', 'W', '!'}));
    EXPECT_EQ(segment.missing, 0U);
    EXPECT_EQ(segment.from.port, 40000);
    EXPECT_EQ(segment.to.port, 50000);
    EXPECT_EQ(segment.from.isV6, GetParam().isV6);
    EXPECT_EQ(segment.from.address[GetParam().isV6 ? 15 : 3], 1);
    EXPECT_EQ(segment.to.address[GetParam().isV6 ? 15 : 3], 2);
    EXPECT_EQ(segment.fields.flags, sTcpFields::kPush | sTcpFields::kAck);
    EXPECT_EQ(segment.fields.sequence, 0x01020304U);
    EXPECT_EQ(segment.fields.acknowledged, 0x05060708U);
}

INSTANTIATE_TEST_SUITE_P(
    All, TcpPacketFoundTest,
    testing::Values(Packet{"Ethernet", 1, kTwoAddresses + "08 00 " + kV4}, //
                    Packet{"EthernetV6", 1, kTwoAddresses + "86 dd " + kV6, true},
                    Packet{"EthernetPadding", 1, kTwoAddresses + "08 00 " + kV4 + "00*17"},
                    Packet{"VlanTag", 1, kTwoAddresses + "81 00 00 05 08 00 " + kV4},
                    Packet{"TwoVlanTags", 1, kTwoAddresses + "88 a8 00 05 81 00 00 06 86 dd " + kV6, true},
                    Packet{"LinuxCooked", 113, "00 00 00 01 00 06 00*8 08 00 " + kV4},
                    Packet{"LinuxCooked2", 276, "86 dd 00 00 00 00 00 01 00 01 00 06 00*8 " + kV6, true},
                    Packet{"Loopback", 0, "02 00 00 00 " + kV4},
                    Packet{"LoopbackBigEndian", 0, "00 00 00 02 " + kV4},
                    Packet{"LoopbackV6", 108, "00 00 00 1e " + kV6, true}, //
                    Packet{"Raw", 101, kV4}, Packet{"Raw12", 12, kV4}, Packet{"Raw14", 14, kV6, true},
                    Packet{"RawV4", 228, kV4}, Packet{"RawV6", 229, kV6, true},
                    Packet{"V4Options", 101,
                           "46 00 00 2f 00 00 00 00 40 06 00 00 c0 00 02 01 c0 00 02 02 01 01 01 01 " + kTcp},
                    Packet{"V4LengthLeftToTheCard", 101,
                           "45 00 00 00 00 00 00 00 40 06 00 00 c0 00 02 01 c0 00 02 02 " + kTcp},
                    Packet{"V6LengthLeftToTheCard", 101, v6("06", "00") + kTcp, true},
                    Packet{"V6Extensions", 101,
                           v6("00", "57") + "2b 00 00*6\n" + "3c 00 00*6\n" + "33 01 00*14\n" +
                               "2c 04 00*22\n" + "06 00 00 00 00*4\n" + kTcp,
                           true},
                    Packet{
                        "TcpOptions", 101,
                        "45 00 00 2f 00 00 00 00 40 06 00 00 c0 00 02 01 c0 00 02 02\n"
                        "9c 40 c3 50 01 02 03 04 05 06 07 08 60 18 ff ff 00 00 00 00 01 01 01 01 5a 57 21"}),
    [](const auto& row) { return row.param.name; });

struct Other
{
    const char* name;
    uint16_t linkType;
    std::string hex;
    eDecoded result;
};

void PrintTo(const Other& other, std::ostream* to) { *to << other.name; }

class NoTcpPacketTest : public testing::TestWithParam<Other>
{};

TEST_P(NoTcpPacketTest, IsToldFromOne)
{
    const Bytes packet = hexBytes(GetParam().hex);
    sTcpSegment segment;
    EXPECT_EQ(decodePacket(GetParam().linkType, packet, packet.size(), &segment), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(
    All, NoTcpPacketTest,
    testing::Values(
        Other{"Arp", 1, kTwoAddresses + "08 06 00 01", eDecoded::OTHER},
        Other{"EndlessVlanTags", 1, kTwoAddresses + "81 00 00 05 81 00 00 05 81 00", eDecoded::OTHER},
        Other{"Empty", 101, "", eDecoded::OTHER}, //
        Other{"Version5", 101, "55 00 00 00", eDecoded::OTHER},
        Other{"Udp", 101, "45 00 00 14 00 00 00 00 40 11 00 00 00*8", eDecoded::OTHER},
        Other{"V4HeaderTooShort", 101, "44 00 00 28 00 00 00 00 40 06 00 00 00*28", eDecoded::OTHER},
        Other{"V4Fragment", 101, "45 00 00 28 00 00 00 01 40 06 00 00 00*28", eDecoded::FRAGMENT},
        Other{"V4FirstFragment", 101, "45 00 00 28 00 00 20 00 40 06 00 00 00*28", eDecoded::FRAGMENT},
        Other{"V6Fragment", 101, v6("2c", "1c") + "06 00 00 08 00*24", eDecoded::FRAGMENT},
        Other{"V6NoNextHeader", 101, v6("3b", "00"), eDecoded::OTHER},
        Other{"V6ExtensionBeyondThePacket", 101, v6("00", "08") + "06 ff 00*6", eDecoded::OTHER},
        Other{"TcpHeaderTooShort", 101,
              "45 00 00 28 00 00 00 00 40 06 00 00 00*8 00*12 40 10 00 00 00 00 00 00", eDecoded::OTHER},
        Other{"Bluetooth", 201, kV4, eDecoded::UNKNOWN_LINK}),
    [](const auto& row) { return row.param.name; });

TEST(TcpSegmentTest, BytesThatWereNotRecordedAreCounted)
{
    const Bytes packet = hexBytes(kTwoAddresses + "08 00 " + kV4);
    sTcpSegment segment;
    const auto recorded = std::span(packet).first(packet.size() - 2);
    ASSERT_EQ(decodePacket(1, recorded, packet.size(), &segment), eDecoded::SEGMENT);
    EXPECT_EQ(segment.payload.size(), 1U);
    EXPECT_EQ(segment.missing, 2U);
}

TEST(TcpSegmentTest, HeadersThatWereNotRecordedAreTold)
{
    const Bytes packet = hexBytes(kTwoAddresses + "08 00 " + kV4);
    for (size_t size = 0; size < packet.size() - 3; ++size) {
        sTcpSegment segment;
        EXPECT_EQ(decodePacket(1, std::span(packet).first(size), packet.size(), &segment), eDecoded::CUT)
            << size;
    }
}

TEST(TcpSegmentTest, AnyCutOfAPacketIsReadWithoutHarm)
{
    const Bytes packet = hexBytes(v6("00", "57") + "2b 00 00*6\n3c 00 00*6\n33 01 00*14\n2c 04 00*22\n" +
                                  "06 00 00 00 00*4\n" + kTcp);
    for (size_t size = 0; size < packet.size(); ++size) {
        const Bytes part(packet.begin(), packet.begin() + static_cast<std::ptrdiff_t>(size));
        sTcpSegment segment;
        const eDecoded result = decodePacket(101, part, size, &segment);
        EXPECT_EQ(result == eDecoded::SEGMENT, size >= packet.size() - 3) << size;
    }
}

} // namespace

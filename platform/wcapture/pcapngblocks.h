#pragma once

// Numbers of the IETF draft "PCAP Next Generation (pcapng) Capture File Format"; pcapng.h shows how a file is
// laid out.

#include <cstdint>

namespace pcapng {

// Types of blocks.
constexpr uint32_t kSectionHeader = 0x0A0D0D0A;
constexpr uint32_t kInterface = 1;
constexpr uint32_t kObsoletePacket = 2;
constexpr uint32_t kSimplePacket = 3;
constexpr uint32_t kEnhancedPacket = 6;

constexpr uint32_t kByteOrderMagic = 0x1A2B3C4D;
constexpr uint16_t kMajorVersion = 1;
constexpr uint16_t kMinorVersion = 0;

// Options.
constexpr uint16_t kEndOfOptions = 0;
constexpr uint16_t kComment = 1;       // of any block
constexpr uint16_t kHardware = 2;      // of a section header
constexpr uint16_t kSystem = 3;        // of a section header
constexpr uint16_t kProgram = 4;       // of a section header
constexpr uint16_t kInterfaceName = 2; // of an interface
constexpr uint16_t kTimeResolution = 9;
constexpr uint16_t kTimeOffset = 14;
constexpr uint16_t kPacketFlags = 2; // of an enhanced packet

} // namespace pcapng

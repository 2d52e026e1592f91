#pragma once

// Blocks of a capture file, as the IETF draft "PCAP Next Generation (pcapng) Capture File Format"
// (draft-ietf-opsawg-pcapng) lays them out. A file is one section header, its interfaces and then packets:
//
//   block    4  block type
//            4  length of the whole block, a multiple of 4
//            n  body, then options: 2 code, 2 length, value padded to a multiple of 4; 0 and 0 end them
//            4  length of the whole block again
//
// The section header tells the byte order, here always little-endian.

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace pcapng {

/// Which way a packet went: the lowest two bits of the option epb_flags.
enum class eDirection : uint32_t
{
    INBOUND = 1,
    OUTBOUND = 2
};

/// Who wrote the file; an empty text is left out.
struct sWriter
{
    std::string hardware;
    std::string system;
    std::string program;
};

void appendSectionHeader(std::vector<uint8_t>* file, const sWriter& writer);

/// An interface whose packets begin with their IPv4 or IPv6 header and whose times are in nanoseconds.
void appendInterface(std::vector<uint8_t>* file, const std::string& name);

/// What a block tells of a packet beside its bytes.
struct sPacketNotes
{
    uint32_t interface = 0;                 ///< which one of the file's, from 0
    std::vector<std::string> comments = {}; ///< for people; the format takes 65,535 bytes of each
};

/// @p timeNs counts from 1970.
void appendPacket(std::vector<uint8_t>* file, uint64_t timeNs, eDirection direction,
                  std::span<const uint8_t> packet, const sPacketNotes& notes = {});

} // namespace pcapng

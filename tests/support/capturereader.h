#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

/// One recorded packet, as far as the tests look into it.
struct RecordedPacket
{
    uint64_t timeNs = 0;
    uint32_t interface = 0;
    uint32_t direction = 0; ///< 1 inbound, 2 outbound
    std::vector<std::string> comments;
    std::vector<uint8_t> bytes;

    size_t ipHeader() const { return bytes[0] >> 4 == 4 ? 20 : 40; }
    uint32_t word(size_t offset) const
    {
        return static_cast<uint32_t>(bytes[offset] << 24 | bytes[offset + 1] << 16 | bytes[offset + 2] << 8 |
                                     bytes[offset + 3]);
    }
    uint8_t tcpFlags() const { return bytes[ipHeader() + 13]; }
    uint32_t sequence() const { return word(ipHeader() + 4); }
    uint32_t acknowledged() const { return word(ipHeader() + 8); }
    std::vector<uint8_t> payload() const
    {
        const size_t tcpHeader = static_cast<size_t>(bytes[ipHeader() + 12] >> 4) * 4;
        return {bytes.begin() + static_cast<std::ptrdiff_t>(ipHeader() + tcpHeader), bytes.end()};
    }
};

inline std::vector<uint8_t> fileBytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// The packets of a capture file. @p *isWhole tells whether it is blocks up to its last byte.
inline std::vector<RecordedPacket> packetsIn(const std::vector<uint8_t>& file, bool* isWhole)
{
    std::vector<RecordedPacket> packets;
    const auto little = [&file](size_t offset) {
        return static_cast<uint32_t>(file[offset] | file[offset + 1] << 8 | file[offset + 2] << 16 |
                                     file[offset + 3] << 24);
    };
    size_t at = 0;
    while (file.size() - at >= 12) {
        const size_t length = little(at + 4);
        if (length < 12 || length % 4 != 0 || length > file.size() - at ||
            little(at + length - 4) != length) {
            break;
        }
        if (little(at) == 6) {
            RecordedPacket packet;
            packet.interface = little(at + 8);
            packet.timeNs = static_cast<uint64_t>(little(at + 12)) << 32 | little(at + 16);
            const size_t size = little(at + 20);
            const auto begin = file.begin() + static_cast<std::ptrdiff_t>(at + 28);
            packet.bytes.assign(begin, begin + static_cast<std::ptrdiff_t>(size));
            size_t option = at + 28 + (size + 3) / 4 * 4;
            packet.direction = little(option + 4);
            for (; little(option) != 0; option += 4 + ((little(option) >> 16) + 3) / 4 * 4) {
                if ((little(option) & 0xFFFF) == 1) {
                    const auto text = file.begin() + static_cast<std::ptrdiff_t>(option + 4);
                    packet.comments.emplace_back(text, text + (little(option) >> 16));
                }
            }
            packets.push_back(packet);
        }
        at += length;
    }
    *isWhole = at == file.size();
    return packets;
}

#pragma once

#include <sstream>

#include "madecapture.h"
#include "wcapture/packetreader.h"

/// The packets of @p made as the older format has them, each behind the link header @p header.
inline std::vector<uint8_t> pcapOf(const MadeCapture& made, uint32_t linkType,
                                   const std::vector<uint8_t>& header)
{
    std::vector<uint8_t> file;
    const auto put = [&file](uint32_t number) {
        for (int shift = 0; shift < 32; shift += 8) {
            file.push_back(static_cast<uint8_t>(number >> shift));
        }
    };
    for (const uint32_t number : {0xA1B2C3D4U, 0x00040002U, 0U, 0U, 262144U, linkType}) {
        put(number);
    }
    std::istringstream stream(std::string(made.file().begin(), made.file().end()));
    cPacketReader reader(&stream);
    for (sPacket packet; reader.next(&packet) == cCaptureFormat::PACKET;) {
        const auto size = static_cast<uint32_t>(header.size() + packet.bytes.size());
        put(static_cast<uint32_t>(packet.timeNs / 1'000'000'000));
        put(static_cast<uint32_t>(packet.timeNs % 1'000'000'000 / 1000));
        put(size);
        put(size);
        file.insert(file.end(), header.begin(), header.end());
        file.insert(file.end(), packet.bytes.begin(), packet.bytes.end());
    }
    return file;
}

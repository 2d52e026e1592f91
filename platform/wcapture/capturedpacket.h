#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A packet of a capture file, as it was recorded.
struct sPacket
{
    int64_t timeNs = 0;     ///< since 1970
    uint32_t interface = 0; ///< index into the interfaces of its section
    uint32_t wireSize = 0;  ///< at least the size of `bytes`, which a recorder may have cut
    std::vector<uint8_t> bytes = {};
    std::vector<std::string> comments = {};
};

/// Where packets of a capture file were recorded.
struct sCaptureInterface
{
    std::string name = {};   ///< empty if the file does not tell it
    uint16_t linkType = 0;   ///< a number of the registry at www.tcpdump.org/linktypes.html
    uint32_t snapLength = 0; ///< most bytes of a packet that are recorded; 0 if there is no limit
};

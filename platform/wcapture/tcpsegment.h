#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "wcapture/tcppacket.h"

/// A TCP segment that was found in a packet.
struct sTcpSegment
{
    sEndpoint from = {};
    sEndpoint to = {};
    sTcpFields fields = {};
    std::span<const uint8_t> payload = {}; ///< as far as it was recorded
    size_t missing = 0;                    ///< bytes of the payload that were not recorded
};

enum class eDecoded : uint8_t
{
    SEGMENT,
    OTHER,       ///< something else than TCP over IP
    FRAGMENT,    ///< a part of an IP packet
    CUT,         ///< the recorder kept less than the headers
    UNKNOWN_LINK ///< a link type that is not known
};

/// Finds the TCP segment in a recorded packet: over Ethernet, with VLAN tags or without, Linux "cooked"
/// headers of both versions, loopback interfaces of the BSDs, and bare IP. Fills @p *segment if it returns
/// SEGMENT; the payload is a part of @p packet. @p wireSize is the size that the packet had.
eDecoded decodePacket(uint16_t linkType, std::span<const uint8_t> packet, size_t wireSize,
                      sTcpSegment* segment);

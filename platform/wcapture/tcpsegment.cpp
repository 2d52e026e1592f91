#include "wcapture/tcpsegment.h"

#include <algorithm>
#include <netinet/in.h>

#include "wmsg/wbytes.h"

namespace {

// Link types of the registry at www.tcpdump.org/linktypes.html.
constexpr uint16_t kLoopbackHostOrder = 0;
constexpr uint16_t kEthernet = 1;
constexpr uint16_t kLoopback = 108;
constexpr uint16_t kLinuxCooked = 113;
constexpr uint16_t kLinuxCooked2 = 276;

/// Those whose packets begin with their IP header; 12 and 14 are what some systems write for 101.
constexpr uint16_t kBareIp[] = {12, 14, 101, 228, 229};

// Types of what an Ethernet header and the like carry (IEEE 802).
constexpr uint16_t kIpV4 = 0x0800;
constexpr uint16_t kIpV6 = 0x86DD;
constexpr uint16_t kVlanTags[] = {0x8100, 0x88A8, 0x9100};

constexpr uint16_t kV4Fragment = 0x3FFF; ///< more of them follow, and the place of this one
constexpr uint16_t kV6Fragment = 0xFFF9;

/// What is left of a packet behind the headers that were read.
struct sRest
{
    std::span<const uint8_t> bytes;
    size_t wireSize; ///< at least the size of `bytes`

    void drop(size_t size)
    {
        bytes = bytes.subspan(size);
        wireSize -= size;
    }

    /// What is behind @p size bytes does not belong to it.
    void limit(size_t size)
    {
        bytes = bytes.first(std::min(size, bytes.size()));
        wireSize = std::min(size, wireSize);
    }

    /// If fewer than @p size bytes are there, says why.
    eDecoded shortOf(size_t size) const { return wireSize < size ? eDecoded::OTHER : eDecoded::CUT; }
};

bool isVlanTag(uint16_t type) { return std::ranges::find(kVlanTags, type) != std::end(kVlanTags); }

/// Drops a link header of @p size bytes with the type of its content at @p typeAt, and VLAN tags behind it.
eDecoded dropTypedHeader(sRest* rest, size_t size, size_t typeAt)
{
    if (rest->bytes.size() < size) {
        return rest->shortOf(size);
    }
    uint16_t type = wmsg::get16(rest->bytes.data() + typeAt);
    rest->drop(size);
    constexpr size_t kTag = 4;
    while (isVlanTag(type) && rest->bytes.size() >= kTag) {
        type = wmsg::get16(rest->bytes.data() + 2);
        rest->drop(kTag);
    }
    return type == kIpV4 || type == kIpV6 ? eDecoded::SEGMENT : eDecoded::OTHER;
}

eDecoded dropLoopbackHeader(sRest* rest)
{
    constexpr size_t kFamily = 4; // systems number it differently, and the IP header tells the version
    if (rest->bytes.size() < kFamily) {
        return rest->shortOf(kFamily);
    }
    rest->drop(kFamily);
    return eDecoded::SEGMENT;
}

eDecoded dropLinkHeader(uint16_t linkType, sRest* rest)
{
    switch (linkType) {
    case kEthernet:
        return dropTypedHeader(rest, 14, 12);
    case kLinuxCooked:
        return dropTypedHeader(rest, 16, 14);
    case kLinuxCooked2:
        return dropTypedHeader(rest, 20, 0);
    case kLoopbackHostOrder:
    case kLoopback:
        return dropLoopbackHeader(rest);
    default:
        const bool isBare = std::ranges::find(kBareIp, linkType) != std::end(kBareIp);
        return isBare ? eDecoded::SEGMENT : eDecoded::UNKNOWN_LINK;
    }
}

sEndpoint endpoint(const uint8_t* address, bool isV6)
{
    sEndpoint endpoint;
    endpoint.isV6 = isV6;
    std::copy_n(address, isV6 ? 16 : 4, endpoint.address.begin());
    return endpoint;
}

/// A length of 0 is that of a packet which the system was to cut later, so that it did not fit.
void limitTo(sRest* rest, size_t length)
{
    if (length != 0) {
        rest->limit(length);
    }
}

eDecoded dropV4Header(sRest* rest, sTcpSegment* segment)
{
    if (rest->bytes.size() < kIpV4Header) {
        return rest->shortOf(kIpV4Header);
    }
    const uint8_t* header = rest->bytes.data();
    const size_t size = static_cast<size_t>(header[0] & 0x0F) * 4;
    limitTo(rest, wmsg::get16(header + 2));
    if (size < kIpV4Header || header[9] != IPPROTO_TCP) {
        return eDecoded::OTHER;
    }
    if ((wmsg::get16(header + 6) & kV4Fragment) != 0) {
        return eDecoded::FRAGMENT;
    }
    if (rest->bytes.size() < size) {
        return rest->shortOf(size);
    }
    segment->from = endpoint(header + 12, false);
    segment->to = endpoint(header + 16, false);
    rest->drop(size);
    return eDecoded::SEGMENT;
}

/// How long an extension header of this type is, whose second byte is @p length; 0 if it is none.
size_t extensionSize(uint8_t type, uint8_t length)
{
    constexpr uint8_t kMobility = 135;
    switch (type) {
    case IPPROTO_HOPOPTS:
    case IPPROTO_ROUTING:
    case IPPROTO_DSTOPTS:
    case kMobility:
        return (size_t{length} + 1) * 8;
    case IPPROTO_FRAGMENT:
        return 8;
    case IPPROTO_AH:
        return (size_t{length} + 2) * 4;
    default:
        return 0;
    }
}

/// Drops the headers between that of IP version 6, which says that @p type comes next, and that of TCP.
eDecoded dropExtensions(sRest* rest, uint8_t type)
{
    constexpr size_t kSmallest = 8;
    while (type != IPPROTO_TCP) {
        if (extensionSize(type, 0) == 0) {
            return eDecoded::OTHER;
        }
        if (rest->bytes.size() < kSmallest) {
            return rest->shortOf(kSmallest);
        }
        const uint8_t* header = rest->bytes.data();
        if (type == IPPROTO_FRAGMENT && (wmsg::get16(header + 2) & kV6Fragment) != 0) {
            return eDecoded::FRAGMENT;
        }
        const size_t size = extensionSize(type, header[1]);
        if (rest->bytes.size() < size) {
            return rest->shortOf(size);
        }
        type = header[0];
        rest->drop(size);
    }
    return eDecoded::SEGMENT;
}

eDecoded dropV6Header(sRest* rest, sTcpSegment* segment)
{
    if (rest->bytes.size() < kIpV6Header) {
        return rest->shortOf(kIpV6Header);
    }
    const uint8_t* header = rest->bytes.data();
    segment->from = endpoint(header + 8, true);
    segment->to = endpoint(header + 24, true);
    rest->drop(kIpV6Header);
    limitTo(rest, wmsg::get16(header + 4));
    return dropExtensions(rest, header[6]);
}

eDecoded dropIpHeader(sRest* rest, sTcpSegment* segment)
{
    if (rest->bytes.empty()) {
        return rest->shortOf(1);
    }
    switch (rest->bytes[0] >> 4) {
    case 4:
        return dropV4Header(rest, segment);
    case 6:
        return dropV6Header(rest, segment);
    default:
        return eDecoded::OTHER;
    }
}

eDecoded readTcp(sRest rest, sTcpSegment* segment)
{
    if (rest.bytes.size() < kTcpHeader) {
        return rest.shortOf(kTcpHeader);
    }
    const uint8_t* header = rest.bytes.data();
    const size_t size = static_cast<size_t>(header[12] >> 4) * 4;
    if (size < kTcpHeader) {
        return eDecoded::OTHER;
    }
    if (rest.bytes.size() < size) {
        return rest.shortOf(size);
    }
    segment->from.port = wmsg::get16(header);
    segment->to.port = wmsg::get16(header + 2);
    segment->fields = {header[13], wmsg::get32(header + 4), wmsg::get32(header + 8)};
    rest.drop(size);
    segment->payload = rest.bytes;
    segment->missing = rest.wireSize - rest.bytes.size();
    return eDecoded::SEGMENT;
}

} // namespace

eDecoded decodePacket(uint16_t linkType, std::span<const uint8_t> packet, size_t wireSize,
                      sTcpSegment* segment)
{
    sRest rest{packet, std::max(packet.size(), wireSize)};
    eDecoded result = dropLinkHeader(linkType, &rest);
    if (result == eDecoded::SEGMENT) {
        result = dropIpHeader(&rest, segment);
    }
    return result == eDecoded::SEGMENT ? readTcp(rest, segment) : result;
}

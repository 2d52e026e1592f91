#include "wcapture/tcppacket.h"

#include <algorithm>
#include <cstring>
#include <netinet/in.h>

#include "wmsg/wbytes.h"
#include "wmsg/wmsg.h"

namespace {

constexpr uint8_t kTtl = 64;
constexpr uint16_t kDontFragment = 0x4000;

/// The widest window (RFC 7323), so that no tool reports a full one.
constexpr uint16_t kWindow = 0xFFFF;
constexpr uint8_t kWindowScale = 14;

/// The options of a packet that opens a connection: the largest segment (RFC 9293) and the window's unit.
constexpr std::array<uint8_t, 8> kOpeningOptions{
    2, 4, kMaxTcpPayload >> 8, kMaxTcpPayload & 0xFF, 1 /* no operation */, 3, 3, kWindowScale};

/// The Internet checksum (RFC 1071) from a sum of 32-bit words.
uint16_t checksumOf(uint64_t sum)
{
    while (sum > 0xFFFF) {
        sum = (sum >> 16) + (sum & 0xFFFF);
    }
    return static_cast<uint16_t>(~sum);
}

void putV4Header(uint8_t* header, const sEndpoint& from, const sEndpoint& to, size_t tcpSize)
{
    header[0] = 0x45;
    wmsg::put16(header + 2, static_cast<uint16_t>(kIpV4Header + tcpSize));
    wmsg::put16(header + 6, kDontFragment);
    header[8] = kTtl;
    header[9] = IPPROTO_TCP;
    std::copy_n(from.address.begin(), 4, header + 12);
    std::copy_n(to.address.begin(), 4, header + 16);
    wmsg::put16(header + 10, checksumOf(wmsg::checksumAdd(0, {header, kIpV4Header})));
}

void putV6Header(uint8_t* header, const sEndpoint& from, const sEndpoint& to, size_t tcpSize)
{
    header[0] = 0x60;
    wmsg::put16(header + 4, static_cast<uint16_t>(tcpSize));
    header[6] = IPPROTO_TCP;
    header[7] = kTtl;
    std::copy_n(from.address.begin(), 16, header + 8);
    std::copy_n(to.address.begin(), 16, header + 24);
}

/// The sum over addresses, protocol and length, which the TCP checksum covers as well.
uint64_t pseudoHeaderSum(const sEndpoint& from, const sEndpoint& to, size_t tcpSize)
{
    const size_t size = from.isV6 ? 16 : 4;
    const uint64_t sum = wmsg::checksumAdd(tcpSize + IPPROTO_TCP, std::span(from.address).first(size));
    return wmsg::checksumAdd(sum, std::span(to.address).first(size));
}

} // namespace

bool sEndpoint::from(const sockaddr_storage& storage, sEndpoint* endpoint)
{
    if (storage.ss_family == AF_INET) {
        const auto& v4 = reinterpret_cast<const sockaddr_in&>(storage);
        endpoint->isV6 = false;
        std::memcpy(endpoint->address.data(), &v4.sin_addr, 4);
        endpoint->port = ntohs(v4.sin_port);
        return true;
    }
    if (storage.ss_family != AF_INET6) {
        return false;
    }
    const auto& v6 = reinterpret_cast<const sockaddr_in6&>(storage);
    endpoint->isV6 = !IN6_IS_ADDR_V4MAPPED(&v6.sin6_addr);
    const size_t skipped = endpoint->isV6 ? 0 : 12;
    std::memcpy(endpoint->address.data(), v6.sin6_addr.s6_addr + skipped, 16 - skipped);
    endpoint->port = ntohs(v6.sin6_port);
    return true;
}

void appendTcpPacket(std::vector<uint8_t>* bytes, const sEndpoint& from, const sEndpoint& to,
                     const sTcpFields& fields, std::span<const uint8_t> payload)
{
    const size_t ipHeader = from.isV6 ? kIpV6Header : kIpV4Header;
    const bool isSyn = (fields.flags & sTcpFields::kSyn) != 0;
    const size_t tcpHeader = kTcpHeader + (isSyn ? kOpeningOptions.size() : 0);
    const size_t tcpSize = tcpHeader + payload.size();

    const size_t begin = bytes->size();
    bytes->resize(begin + ipHeader + tcpHeader);
    uint8_t* ip = bytes->data() + begin;
    if (from.isV6) {
        putV6Header(ip, from, to, tcpSize);
    } else {
        putV4Header(ip, from, to, tcpSize);
    }

    uint8_t* tcp = ip + ipHeader;
    wmsg::put16(tcp, from.port);
    wmsg::put16(tcp + 2, to.port);
    wmsg::put32(tcp + 4, fields.sequence);
    wmsg::put32(tcp + 8, fields.acknowledged);
    tcp[12] = static_cast<uint8_t>(tcpHeader / 4 << 4);
    tcp[13] = fields.flags;
    wmsg::put16(tcp + 14, kWindow);
    if (isSyn) {
        std::ranges::copy(kOpeningOptions, tcp + kTcpHeader);
    }
    uint64_t sum = pseudoHeaderSum(from, to, tcpSize);
    sum = wmsg::checksumAdd(sum, {tcp, tcpHeader});
    sum = wmsg::checksumAdd(sum, payload);
    wmsg::put16(tcp + 16, checksumOf(sum));
    bytes->insert(bytes->end(), payload.begin(), payload.end());
}

#pragma once

// Packets as they stand on a wire: an IPv4 (RFC 791) or IPv6 (RFC 8200) header, a TCP header (RFC 9293)
// and bytes of the connection, with the checksums that belong there.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <sys/socket.h>
#include <tuple>
#include <vector>

// Headers without options, in bytes.
constexpr size_t kIpV4Header = 20;
constexpr size_t kIpV6Header = 40;
constexpr size_t kTcpHeader = 20;

/// One end of a TCP connection.
struct sEndpoint
{
    bool isV6 = false;
    std::array<uint8_t, 16> address{}; ///< the first 4 bytes of it for IPv4
    uint16_t port = 0;

    /// False if @p storage is neither IPv4 nor IPv6. An IPv4-mapped IPv6 address becomes an IPv4 one.
    static bool from(const sockaddr_storage& storage, sEndpoint* endpoint);

    bool operator==(const sEndpoint&) const = default;
    bool operator<(const sEndpoint& other) const
    {
        return std::tie(isV6, address, port) < std::tie(other.isV6, other.address, other.port);
    }
};

/// What of the TCP header differs from packet to packet.
struct sTcpFields
{
    static constexpr uint8_t kFin = 0x01;
    static constexpr uint8_t kSyn = 0x02;
    static constexpr uint8_t kReset = 0x04;
    static constexpr uint8_t kPush = 0x08;
    static constexpr uint8_t kAck = 0x10;

    uint8_t flags = 0;
    uint32_t sequence = 0;
    uint32_t acknowledged = 0;
};

/// In bytes; both kinds of IP header leave room for it.
constexpr size_t kMaxTcpPayload = 65000;

/// Appends one packet from @p from to @p to, both of one kind. A packet with the SYN flag announces the
/// largest segment size, kMaxTcpPayload, and windows in units of 16 KiB.
void appendTcpPacket(std::vector<uint8_t>* bytes, const sEndpoint& from, const sEndpoint& to,
                     const sTcpFields& fields, std::span<const uint8_t> payload);

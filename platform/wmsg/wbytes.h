#pragma once

// Integers in network byte order (RFC 1700, big-endian). Callers have checked that the bytes are there.

#include <cstdint>
#include <cstring>
#include <endian.h>

namespace wmsg {

inline void put16(uint8_t* to, uint16_t value)
{
    value = htobe16(value);
    std::memcpy(to, &value, sizeof value);
}

inline void put32(uint8_t* to, uint32_t value)
{
    value = htobe32(value);
    std::memcpy(to, &value, sizeof value);
}

inline uint16_t get16(const uint8_t* from) { return static_cast<uint16_t>(from[0] << 8 | from[1]); }

inline uint32_t get32(const uint8_t* from)
{
    return uint32_t{from[0]} << 24 | uint32_t{from[1]} << 16 | uint32_t{from[2]} << 8 | from[3];
}

} // namespace wmsg

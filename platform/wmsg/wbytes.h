#ifndef WBYTES_H
#define WBYTES_H

// Integers in network byte order (RFC 1700, big-endian). Callers have checked that the bytes are there.

#include <cstdint>

namespace wmsg {

inline void put16(uint8_t* to, uint16_t value)
{
    to[0] = static_cast<uint8_t>(value >> 8);
    to[1] = static_cast<uint8_t>(value);
}

inline uint16_t get16(const uint8_t* from) { return static_cast<uint16_t>((from[0] << 8) | from[1]); }

inline void put32(uint8_t* to, uint32_t value)
{
    put16(to, static_cast<uint16_t>(value >> 16));
    put16(to + 2, static_cast<uint16_t>(value));
}

inline uint32_t get32(const uint8_t* from)
{
    return (static_cast<uint32_t>(get16(from)) << 16) | get16(from + 2);
}

} // namespace wmsg

#endif

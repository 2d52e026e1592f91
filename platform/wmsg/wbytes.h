#pragma once

// Integers in network byte order (RFC 1700, big-endian). Callers have checked that the bytes are there.

#include <cstdint>
#include <cstring>

namespace wmsg {

inline uint16_t swap(uint16_t value) { return __builtin_bswap16(value); }
inline uint32_t swap(uint32_t value) { return __builtin_bswap32(value); }

/// The integer whose bytes in memory are those of @p value in network byte order; and back again.
template <class Integer>
Integer bigEndian(Integer value)
{
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    return swap(value);
#else
    return value;
#endif
}

template <class Integer>
void putBigEndian(uint8_t* to, Integer value)
{
    value = bigEndian(value);
    std::memcpy(to, &value, sizeof value);
}

template <class Integer>
Integer getBigEndian(const uint8_t* from)
{
    Integer value = 0;
    std::memcpy(&value, from, sizeof value);
    return bigEndian(value);
}

inline void put16(uint8_t* to, uint16_t value) { putBigEndian(to, value); }
inline void put32(uint8_t* to, uint32_t value) { putBigEndian(to, value); }
inline uint16_t get16(const uint8_t* from) { return getBigEndian<uint16_t>(from); }
inline uint32_t get32(const uint8_t* from) { return getBigEndian<uint32_t>(from); }

} // namespace wmsg

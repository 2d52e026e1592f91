#pragma once

#include <cstdint>
#include <istream>
#include <vector>

/// Reads bytes and integers from a stream whose end may come at any place.
class cBlockReader
{
public:
    /// @p stream is borrowed.
    explicit cBlockReader(std::istream* stream) : mStream(stream) {}

    /// Replaces @p *bytes by the next @p size bytes. Returns false if the stream ends before; what there was
    /// is in @p *bytes. Memory grows with the bytes that are there, whatever @p size says.
    bool read(size_t size, std::vector<uint8_t>* bytes);

    /// Returns false if the stream ends before @p size bytes.
    bool skip(uint64_t size);

private:
    std::istream* mStream;
};

/// The order of the bytes of integers in a file.
struct sByteOrder
{
    bool isBig = false;

    uint16_t get16(const uint8_t* from) const;
    uint32_t get32(const uint8_t* from) const;
    uint64_t get64(const uint8_t* from) const;
};

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// Cuts the bytes of one direction into the segments that docs/protocol.md describes.
class SegmentCutter
{
public:
    void add(const uint8_t* data, size_t size) { mBytes.insert(mBytes.end(), data, data + size); }

    /// Moves the next whole segment into @p *segment. False when there is none yet. Bytes that begin no
    /// segment come as they are, as many as there are, and so does everything after them.
    bool next(std::vector<uint8_t>* segment);

    /// What is left when no more bytes come.
    std::vector<uint8_t> rest();

private:
    std::vector<uint8_t> mBytes;
    bool mLost = false;
};

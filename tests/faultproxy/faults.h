#pragma once

#include <cstddef>
#include <cstdint>

/// What a fault proxy does to the bytes that pass it.
///
/// Chances are those of each segment, from 0 to 1; a segment suffers one of them at most. What becomes of a
/// segment depends on the seed, its connection, its direction and its number alone, so that a run can be
/// repeated.
struct Faults
{
    uint64_t seed = 1;

    double delayMs = 0;
    double jitterMs = 0;           ///< up to so much more delay; the order stays
    uint64_t bytesPerSecond = 0;   ///< 0 is no limit
    size_t sliceBytes = 0;         ///< writes no more at once; 0 writes whole segments
    size_t cutAt = 0;              ///< writes the first so many bytes of each segment apart; 0 does not cut
    bool sweepCut = false;         ///< cuts each segment one byte further on than the one before
    int64_t gapMicroseconds = 0;   ///< between two writes
    bool towardServerOnly = false; ///< segments toward the device suffer none of what follows

    double corrupt = 0;   ///< one to four bytes in a row are changed
    double duplicate = 0; ///< the segment passes twice
    double drop = 0;      ///< the segment does not pass
    double stall = 0;     ///< nothing more passes in this direction for stallMs, then all of it
    double reset = 0;     ///< half of the segment passes, then both sides get a reset
    double close = 0;     ///< half of the segment passes, then the connection ends in good order
    double silence = 0;   ///< nothing more passes in either direction; after silenceMs both get a reset

    int stallMs = 500;
    int silenceMs = 1500;
};

/// What a fault proxy has done so far.
struct FaultCounts
{
    uint64_t connections = 0;
    uint64_t open = 0; ///< connections that stand now
    uint64_t segments = 0;
    uint64_t bytes = 0;
    uint64_t corrupted = 0;
    uint64_t duplicated = 0;
    uint64_t dropped = 0;
    uint64_t stalled = 0;
    uint64_t resets = 0;
    uint64_t closed = 0;
    uint64_t silenced = 0;

    /// How often a connection was ended on purpose.
    uint64_t outages() const { return resets + closed + silenced; }
};

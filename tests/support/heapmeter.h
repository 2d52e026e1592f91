#pragma once

#include <cstddef>

/// Counts what a program that links heapmeter.cpp takes from operator new.
class HeapMeter
{
public:
    /// Begins anew: what is there now is not counted.
    HeapMeter();

    /// The most bytes there were at any moment since, beyond what was there.
    size_t peak() const;

    /// The bytes there are now, beyond what was there.
    size_t now() const;

    /// How many times memory was taken since.
    size_t taken() const;

private:
    const size_t mBefore;
    const size_t mTakenBefore;
};

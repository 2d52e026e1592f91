#pragma once

#include <cstdint>
#include <string_view>

/// Random numbers that depend on a seed and on who draws them, and on nothing else.
///
/// The same on every machine. The generator is splitmix64: a counter with a step of 2^64 divided by the
/// golden ratio, and a mixing function.
class cSeededRandom
{
public:
    /// Each @p purpose and @p number have numbers of their own.
    constexpr cSeededRandom(uint64_t seed, std::string_view purpose, uint64_t number)
    {
        add(seed);
        for (const char letter : purpose) {
            add(static_cast<unsigned char>(letter));
        }
        add(number);
    }

    constexpr uint64_t next()
    {
        mCounter += kStep;
        return mix(mCounter);
    }

    /// 0 <= x < 1, with 53 bits.
    constexpr double nextFraction() { return static_cast<double>(next() >> 11) * 0x1p-53; }

private:
    static constexpr uint64_t kStep = 0x9E3779B97F4A7C15;

    static constexpr uint64_t mix(uint64_t bits)
    {
        bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9;
        bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EB;
        return bits ^ (bits >> 31);
    }

    constexpr void add(uint64_t key) { mCounter = mix(mCounter + kStep + key); }

    uint64_t mCounter = 0;
};

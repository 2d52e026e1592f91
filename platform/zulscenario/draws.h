#pragma once

#include <cstdint>
#include <string_view>

#include "zuldevice/seededrandom.h"

namespace zulscenario {

/// What is left to chance at one device, by who draws and why.
class Draws
{
public:
    explicit Draws(uint64_t key) : mKey(key) {}

    /// Numbers of its own for each @p purpose and @p number.
    Draws of(std::string_view purpose, uint64_t number) const
    {
        return Draws(cSeededRandom(mKey, purpose, number).next());
    }

    /// 0 <= x < 1, the number @p number of these draws.
    double fraction(uint64_t number) const { return cSeededRandom(mKey, "", number).nextFraction(); }

    /// -1 <= x < 1.
    double swing(uint64_t number) const { return 2.0 * fraction(number) - 1.0; }

private:
    uint64_t mKey;
};

} // namespace zulscenario

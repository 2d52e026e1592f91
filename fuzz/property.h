#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the program as a crash does where @p property, a sentence, does not hold.
inline void require(bool holds, const char* property)
{
    if (!holds) {
        std::fprintf(stderr, "This does not hold: %s\n", property);
        std::abort();
    }
}

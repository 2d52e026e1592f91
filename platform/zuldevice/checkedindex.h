#pragma once

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <vector>

/// The element of @p list at @p index. A wrong index ends the program, in every build type; @p name is that
/// of the list.
template <class Element>
const Element& checkedAt(const std::vector<Element>& list, int64_t index, const char* name)
{
    if (index < 0 || index >= static_cast<int64_t>(list.size())) {
        std::fprintf(stderr, "Index %" PRId64 " is outside %s, which holds %zu\n", index, name, list.size());
        std::abort();
    }
    return list[static_cast<size_t>(index)];
}

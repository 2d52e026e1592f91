#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zuldevice {

/// Ends the program with a message that names the list, its size and the index.
[[noreturn]] void endForIndex(int64_t index, const char* name, size_t size);

} // namespace zuldevice

/// The element of @p list at @p index. A wrong index ends the program, in every build type; @p name is that
/// of the list.
template <class Element>
const Element& checkedAt(const std::vector<Element>& list, int64_t index, const char* name)
{
    if (index < 0 || index >= static_cast<int64_t>(list.size())) {
        zuldevice::endForIndex(index, name, list.size());
    }
    return list[static_cast<size_t>(index)];
}

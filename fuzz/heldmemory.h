#pragma once

#include <cstddef>

/// Known to programs built with AddressSanitizer; null in others.
extern "C" size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

/// The bytes that the program holds on the heap, or 0 if they are not counted.
inline size_t heldMemory()
{
    return __sanitizer_get_current_allocated_bytes != nullptr ? __sanitizer_get_current_allocated_bytes() : 0;
}

#pragma once

#include <cstdint>

// What a program that serves connections does first.

namespace zuloptions {

/// Opens the standard streams that are closed, so that no socket gets their numbers.
void fillStandardStreams();

/// Allows as many descriptors as the system grants, and returns how many.
uint64_t raiseDescriptorLimit();

} // namespace zuloptions

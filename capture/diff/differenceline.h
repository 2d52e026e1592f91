#pragma once

#include <string>

#include "capture/diff/comparison.h"

namespace capture {

/// The line about @p difference, without its end. Times in it begin with the recordings.
std::string differenceLine(const Comparison::Difference& difference, const MessageComparer& comparer,
                           int64_t beginA, int64_t beginB);

} // namespace capture
